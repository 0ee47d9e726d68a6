#pragma once

#include <cstdint>
#include <string>

/// In place of a console control event: there is none.
inline constexpr uint32_t noConsoleEvent = 0x80000000;

/// Returns a readable name for a console control event (CTRL_C_EVENT and the others that a handler
/// of SetConsoleCtrlHandler gets). noConsoleEvent gives "No signal". Any other number gives
/// "Unknown control signal NUMBER", as a signed decimal.
[[nodiscard]] std::string consoleEventName(uint32_t event);
