#pragma once

#include <memory>

#include <windows.h>

/// Frees memory that Windows allocated with LocalAlloc and that its caller must free.
struct LocalFreeDeleter {
    /// Frees the memory; null isn't freed.
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};

/// Owns such memory, without a count of elements:
///
///     wchar_t* text = nullptr;
///     ConvertSidToStringSidW(sid, &text);
///     const LocalMemory<wchar_t> owner(text);
///
/// `LocalMemory<void>` holds a security descriptor. Null is allowed and isn't freed.
template <class T>
using LocalMemory = std::unique_ptr<T, LocalFreeDeleter>;
