#pragma once

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "util/platform/errortext-win.h"

namespace testing_support {

template <class Signature>
class RefusedCall;

/// Makes the test program's calls of a Windows function fail until the scope ends. The calls do
/// nothing. If the function returns a number (DWORD), they return `error`; otherwise they return
/// false and set `error` as the last error. At most one object at a time for functions of the same
/// type. See ReplacedCall.
template <class Result, class... Arguments>
class [[nodiscard]] RefusedCall<Result(Arguments...)> {
public:
    /// The first `before` calls are made as usual.
    RefusedCall(const char* function, DWORD error, int before = 0) : mCall(function, refuse) {
        sOriginal = mCall.original();
        sError = error;
        sBefore = before;
        sCount = 0;
    }

    /// Returns how often the function has been called.
    int count() const { return sCount; }

private:
    static Result WINAPI refuse(Arguments... arguments) {
        if (++sCount <= sBefore) {
            return sOriginal(arguments...);
        }
        if constexpr (std::is_same_v<Result, DWORD>) {
            return sError;
        } else {
            SetLastError(sError);
            return Result{};
        }
    }

    static inline Result (*sOriginal)(Arguments...) = nullptr;
    static inline DWORD sError = 0;
    static inline int sBefore = 0;
    static inline int sCount = 0;
    ReplacedCall<Result(Arguments...)> mCall;
};

/// Expects `steps` to throw the exception for this failed Windows call, with its error number.
template <class Steps>
void expectFailedCall(const char* function, DWORD error, Steps steps) {
    try {
        steps();
        ADD_FAILURE() << "no exception, where " << function << " fails";
    } catch (const Win32Exception& failure) {
        EXPECT_EQ(failure.mError, error) << function;
        EXPECT_EQ(failure.what(), win32ErrorText(function, static_cast<int>(error)));
    }
}

}  // namespace testing_support
