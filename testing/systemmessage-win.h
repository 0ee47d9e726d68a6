#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "testing/replacedcall-win.h"

namespace testing_support {

/// As long as it lives, `message` is what the system has to say of every error number to one
/// module (null: the test program); empty, it has no words for any. So a test can tell to the
/// letter what a text with an error in it is.
///
/// Replaces FormatMessageW, which leaves the last error 317 behind as it would when it fails. At
/// most one at a time, and not for several threads.
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

    explicit SystemMessage(std::wstring message, HMODULE module = nullptr);
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
