#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

/// A new heap cell for an object of the thread library, set up by `initialize(cell)`, which gives
/// a pthread result. The cell is freed with delete. Lack of memory for the cell and a result other
/// than 0 end the process: `complaint` and the words of the error on standard error, and abort.
template <class Handle, class Initialize>
Handle* makeHandleOrAbort(Initialize initialize, const char* complaint) {
    std::unique_ptr<Handle> handle(new (std::nothrow) Handle());
    const int result = handle != nullptr ? initialize(handle.get()) : ENOMEM;
    if (result != 0) {
        errno = result;
        std::perror(complaint);
        std::abort();
    }
    return handle.release();
}
