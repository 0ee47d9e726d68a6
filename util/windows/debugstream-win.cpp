#include "util/windows/debugstream-win.h"

#include <string>

#include <windows.h>

#include "util/platform/errortext-win.h"

DebugStreambuf::~DebugStreambuf() = default;

int DebugStreambuf::sync() {
    const std::string text = str();
    if (!text.empty()) {
        OutputDebugStringA(text.c_str());
        str(std::string());
    }
    return 0;
}

DebugStream::DebugStream() : std::ostream(new DebugStreambuf) {}

DebugStream::~DebugStream() {
    // Not flush(), which does nothing on a bad stream; writing a null text, for example, makes it
    // bad.
    if (std::streambuf* const buffer = rdbuf()) {
        try {
            buffer->pubsync();
        } catch (const std::exception&) {
            // No memory for the text: the failure can't be reported, and the buffer is still
            // deleted.
            static_cast<void>(buffer);
        }
    }
    delete dynamic_cast<std::stringbuf*>(rdbuf());
}

void debugFailure(const char* call) noexcept { debugFailure(call, GetLastError()); }

void debugFailure(const char* call, uint32_t error) noexcept {
    try {
        debugFailure(Win32Exception(call, error));
    } catch (const std::exception&) {
        // No memory for the message: the failure can't be reported.
        return;
    }
}

void debugFailure(const std::exception& failure) noexcept {
    try {
        DebugStream() << failure.what() << std::endl;
    } catch (const std::exception&) {
        return;
    }
}
