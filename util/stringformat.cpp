#include "util/stringformat.h"

#include <cstdarg>

#include "util/cruntime.h"

std::string format(size_t capacity, const char* pattern, ...) {
    std::string text(capacity, '\0');
    va_list arguments;
    va_start(arguments, pattern);
    const int count = cruntime::vsnprintf(text.data(), capacity, pattern, arguments);
    va_end(arguments);
    // If the text doesn't fit, the count is negative, and no string can be resized to it.
    text.resize(static_cast<size_t>(count));
    return text;
}
