#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

/// Allocates an object of the thread library on the heap and sets it up with `initialize(cell)`,
/// which returns a pthread result. The caller frees it with delete. If the allocation fails, or the
/// result isn't 0, `complaint` and the error's text go to standard error, and the process aborts.
template <class Handle, class Initialize>
[[nodiscard]] Handle* makeHandleOrAbort(Initialize initialize, const char* complaint) {
    std::unique_ptr<Handle> handle(new (std::nothrow) Handle());
    const int result = handle != nullptr ? initialize(handle.get()) : ENOMEM;
    if (result != 0) {
        errno = result;
        std::perror(complaint);
        std::abort();
    }
    return handle.release();
}
