#pragma once

#include <memory>

#include <windows.h>

/// Releases memory that Windows allocated with LocalAlloc and left to its caller.
struct LocalFreeDeleter {
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};

/// The owner of such memory, without a count of elements:
///
///     wchar_t* text = nullptr;
///     ConvertSidToStringSidW(sid, &text);
///     const LocalMemory<wchar_t> owner(text);
///
/// `LocalMemory<void>` holds a security descriptor. Null is allowed and isn't freed.
template <class T>
using LocalMemory = std::unique_ptr<T, LocalFreeDeleter>;
