#pragma once

#include <cstdint>
#include <string>

/// The name, for people, of a console control event (CTRL_C_EVENT and its kin, as a handler of
/// SetConsoleCtrlHandler gets them). 0x80000000, which is no event of Windows, is "No signal".
/// Other numbers give "Unknown control signal NUMBER", signed.
std::string consoleEventName(uint32_t event);
