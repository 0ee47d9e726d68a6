#pragma once

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/replacedcall-win.h"
#include "util/windows/errortext-win.h"

namespace testing_support {

template <class Signature>
class FailingCall;

/// Lets one function of the system fail, for the calls of this program, until the scope ends: one
/// that returns a BOOL sets the last error, one that returns the number gives it. For functions of
/// one signature, one at a time, in one thread.
///
///     const FailingCall<decltype(MakeAbsoluteSD)> refused("MakeAbsoluteSD", ERROR_INVALID_ACL);
template <class Result, class... Arguments>
class FailingCall<Result(Arguments...)> {
public:
    using Signature = Result(Arguments...);

    /// The first `before` calls are made as ever.
    FailingCall(const char* function, DWORD error, int before = 0) : mCall(function, fail) {
        sOriginal = mCall.original();
        sError = error;
        sBefore = before;
    }

private:
    static Result WINAPI fail(Arguments... arguments) {
        if (sBefore > 0) {
            --sBefore;
            return sOriginal(arguments...);
        }
        if constexpr (std::is_same_v<Result, BOOL>) {
            SetLastError(sError);
            return FALSE;
        } else {
            return sError;
        }
    }

    static inline Signature* sOriginal = nullptr;
    static inline DWORD sError = 0;
    static inline int sBefore = 0;
    ReplacedCall<Signature> mCall;
};

/// Expects a Win32Exception of the failed call `word` with the number `error`.
template <class Action>
void expectWin32Failure(const char* word, DWORD error, Action&& action) {
    try {
        action();
        ADD_FAILURE() << "no failure of " << word;
    } catch (const Win32Exception& failure) {
        EXPECT_EQ(failure.mError, error) << word;
        EXPECT_EQ(std::string(failure.what()), win32ErrorText(word, static_cast<int>(error)));
    }
}

}  // namespace testing_support
