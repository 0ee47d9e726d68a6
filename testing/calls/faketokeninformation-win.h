#pragma once

#include <cstring>
#include <functional>
#include <utility>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Replaces this program's GetTokenInformation until the scope ends:
///
///     without a buffer            reports the size and fails with ERROR_INSUFFICIENT_BUFFER
///     with a buffer               gets what `fill` writes to it
///     with a buffer of 0 bytes    fails with ERROR_BAD_LENGTH
///
/// The calls are recorded. At most one object at a time.
class [[nodiscard]] FakeTokenInformation {
public:
    struct Call {
        HANDLE token;
        TOKEN_INFORMATION_CLASS information;
        bool hasBuffer;
        DWORD size;

        bool operator==(const Call&) const = default;
    };

    FakeTokenInformation(DWORD size, std::function<void(BYTE*)> fill)
        : mSize(size), mFill(std::move(fill)) {
        sFake = this;
    }
    FakeTokenInformation(const FakeTokenInformation&) = delete;
    FakeTokenInformation& operator=(const FakeTokenInformation&) = delete;

    /// Makes calls without a buffer succeed.
    void succeedAtOnce() { mSucceedsAtOnce = true; }

    int calls() const { return mCalls; }
    /// Returns the first call (index 0) or the second (1).
    const Call& call(int index) const { return mNoted[index]; }

private:
    BOOL answer(const Call& call, void* buffer, DWORD* size) {
        if (mCalls < 2) {
            mNoted[mCalls] = call;
        }
        ++mCalls;
        if (buffer == nullptr) {
            *size = mSize;
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return mSucceedsAtOnce;
        }
        if (call.size == 0) {
            SetLastError(ERROR_BAD_LENGTH);
            return FALSE;
        }
        // Makes the bytes recognisable that `fill` doesn't write.
        std::memset(buffer, 0xDD, call.size);
        mFill(static_cast<BYTE*>(buffer));
        return TRUE;
    }

    static inline FakeTokenInformation* sFake = nullptr;
    DWORD mSize;
    std::function<void(BYTE*)> mFill;
    bool mSucceedsAtOnce = false;
    int mCalls = 0;
    Call mNoted[2] = {};
    ReplacedCall<decltype(GetTokenInformation)> mCall{
        "GetTokenInformation",
        [](HANDLE token, TOKEN_INFORMATION_CLASS information, LPVOID buffer, DWORD length,
           PDWORD size) -> WINBOOL {
            return sFake->answer({token, information, buffer != nullptr, length}, buffer, size);
        }};
};

}  // namespace testing_support
