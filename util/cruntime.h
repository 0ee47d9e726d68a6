#pragma once

// The C runtime's names for the same call on the two platforms: the one place of the portable
// layer that asks which platform it is. The comparisons fold case by the locale of the C runtime,
// which is "C", that is ASCII letters alone, in a process that doesn't call `setlocale`.

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>

#ifndef _WIN32
#include <strings.h>
#endif

namespace cruntime {

inline int stricmp(const char* a, const char* b) {
#ifdef _WIN32
    return _stricmp(a, b);
#else
    return strcasecmp(a, b);
#endif
}

inline int strnicmp(const char* a, const char* b, size_t count) {
#ifdef _WIN32
    return _strnicmp(a, b, count);
#else
    return strncasecmp(a, b, count);
#endif
}

inline int wcsnicmp(const wchar_t* a, const wchar_t* b, size_t count) {
#ifdef _WIN32
    return _wcsnicmp(a, b, count);
#else
    return wcsncasecmp(a, b, count);
#endif
}

/// Writes the text if it has at most `size` characters; the result is its length. Otherwise the
/// result is negative. What then stands in the buffer, and behind the text, is unspecified.
inline int vsnprintf(char* buffer, size_t size, const char* pattern, va_list arguments) {
#ifdef _WIN32
    return _vsnprintf(buffer, size, pattern, arguments);
#else
    // The C standard's call keeps the last place for the terminator, so the copy has one more.
    std::string text(size + 1, '\0');
    const int count = std::vsnprintf(text.data(), text.size(), pattern, arguments);
    if (count < 0 || static_cast<size_t>(count) > size) {
        return -1;
    }
    text.copy(buffer, static_cast<size_t>(count));
    return count;
#endif
}

}  // namespace cruntime
