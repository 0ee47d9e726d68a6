#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// While the object exists, `message` is the system's message for every error number, in calls by
/// one module (null: the test program). If it is empty, the system has no message for any number.
/// So a test can expect the exact text of a message that contains an error.
///
/// Replaces FormatMessageW. Like the system's function, it fails if the buffer is too small for the
/// message and its terminator (last error 122), and for a message with a gap ("%1") if inserts are
/// neither passed nor ignored (87). In all other cases it sets the last error to 317, with or
/// without a message, so that a caller that doesn't preserve the last error is noticed. It never
/// fills gaps. At most one object at a time, and not for several threads.
class [[nodiscard]] SystemMessage {
public:
    /// The arguments of a call; `allocated` is the buffer that the function allocated.
    struct Call {
        DWORD flags;
        const void* source;
        DWORD number;
        DWORD language;
        DWORD size;
        const void* arguments;
        const void* allocated;
    };

    explicit SystemMessage(std::wstring_view message, HMODULE module = nullptr);
    ~SystemMessage();
    SystemMessage(const SystemMessage&) = delete;
    SystemMessage& operator=(const SystemMessage&) = delete;

    const std::vector<Call>& calls() const { return mCalls; }

private:
    static DWORD WINAPI formatMessage(DWORD flags, LPCVOID source, DWORD number, DWORD language,
                                      LPWSTR buffer, DWORD size, va_list* arguments);

    std::wstring mMessage;
    std::vector<Call> mCalls;
    // Not a ReplacedCall: the attributes of va_list can't be part of a template argument.
    ImportPatch mPatch;
};

}  // namespace testing_support
