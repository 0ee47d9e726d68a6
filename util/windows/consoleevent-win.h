#pragma once

#include <cstdint>
#include <string>

/// Returns a readable name for a console control event (CTRL_C_EVENT and the others that a handler
/// of SetConsoleCtrlHandler gets). 0x80000000, which isn't a Windows event, gives "No signal". Any
/// other number gives "Unknown control signal NUMBER", as a signed decimal.
[[nodiscard]] std::string consoleEventName(uint32_t event);
