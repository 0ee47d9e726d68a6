#pragma once

// C runtime calls whose names differ between the two platforms. This is the only file of the
// portable layer that checks which platform it is compiled for. The comparisons fold case by the
// locale of the C runtime. In a process that doesn't call `setlocale` this is "C", which folds
// ASCII letters only.

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>

#ifndef _WIN32
#include <strings.h>
#endif

/// Calls of the C runtime.
namespace cruntime {

#ifdef _WIN32
/// The system library that has `malloc` and its kin. The import library of the universal C runtime
/// names sets of functions that lead there.
#ifdef _UCRT
inline constexpr const wchar_t* library = L"ucrtbase.dll";
#else
inline constexpr const wchar_t* library = L"msvcrt.dll";
#endif
#endif

/// Compares two texts, ignoring case, and returns a number below, at or above 0. Neither may be
/// null.
[[nodiscard]] inline int stricmp(const char* a, const char* b) {
#ifdef _WIN32
    return _stricmp(a, b);
#else
    return strcasecmp(a, b);
#endif
}

/// The same for the first `count` characters; a text that ends before that counts up to its end.
[[nodiscard]] inline int strnicmp(const char* a, const char* b, size_t count) {
#ifdef _WIN32
    return _strnicmp(a, b, count);
#else
    return strncasecmp(a, b, count);
#endif
}

/// The same for wide characters.
[[nodiscard]] inline int wcsnicmp(const wchar_t* a, const wchar_t* b, size_t count) {
#ifdef _WIN32
    return _wcsnicmp(a, b, count);
#else
    return wcsncasecmp(a, b, count);
#endif
}

/// Formats into `buffer`. If the text has at most `size` characters, the result is its length; what
/// follows the text in the buffer is unspecified. Otherwise the result is negative and the contents
/// of the buffer are unspecified.
[[nodiscard]] inline int vsnprintf(char* buffer, size_t size, const char* pattern,
                                   va_list arguments) {
#ifdef _WIN32
    return _vsnprintf(buffer, size, pattern, arguments);
#else
    // The standard function reserves the last character for the terminator, so the copy has one
    // more.
    std::string text(size + 1, '\0');
    const int count = std::vsnprintf(text.data(), text.size(), pattern, arguments);
    // A failure is negative, and so more than any size.
    if (static_cast<size_t>(count) > size) {
        return -1;
    }
    text.copy(buffer, static_cast<size_t>(count));
    return count;
#endif
}

}  // namespace cruntime
