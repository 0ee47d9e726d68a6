#pragma once

// The C runtime's names for the same call on the two platforms: the one place of the portable
// layer that asks which platform it is. All fold ASCII case (the C runtime's, with locale "C").

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>

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

}  // namespace cruntime
