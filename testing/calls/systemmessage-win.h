#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// As long as it lives, `message` is what the system has to say of every error number to one
/// module (null: the test program); empty, it has no words for any. So a test can tell to the
/// letter what a text with an error in it is.
///
/// Replaces FormatMessageW. As the system's, it gives nothing for a buffer without room for the
/// message and its terminator (last error 122), or for a message with a gap ("%1") where inserts
/// are neither given nor ignored (87). Otherwise it leaves the last error 317 behind, found or not,
/// so that a caller that doesn't keep the last error is seen. Gaps are never filled. At most one at
/// a time, and not for several threads.
class SystemMessage {
public:
    /// What the function was called with; `allocated` is the buffer that it made.
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
