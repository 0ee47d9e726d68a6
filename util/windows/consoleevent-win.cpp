#include "util/windows/consoleevent-win.h"

#include <windows.h>

#include "util/stringformat.h"

std::string consoleEventName(uint32_t event) {
    switch (event) {
        case CTRL_C_EVENT:
            return "Ctrl+C";
        case CTRL_BREAK_EVENT:
            return "Ctrl+BREAK";
        case CTRL_CLOSE_EVENT:
            return "Console closed";
        case CTRL_LOGOFF_EVENT:
            return "User logged off";
        case CTRL_SHUTDOWN_EVENT:
            return "System shutdown";
        case noConsoleEvent:
            return "No signal";
        default:
            return format(64, "Unknown control signal %d", static_cast<int>(event));
    }
}
