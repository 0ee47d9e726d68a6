#pragma once

#include <memory>

#include <windows.h>

namespace testing_support {

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Owns a handle that CloseHandle closes; null is none. For code that doesn't link the library that
/// has ScopedHandle.
using OwnedHandle = std::unique_ptr<void, HandleCloser>;

}  // namespace testing_support
