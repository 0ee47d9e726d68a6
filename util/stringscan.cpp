#include "util/stringscan.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "util/assertion.h"
#include "util/characterset.h"

namespace {

constexpr std::string_view operators[] = {">", ">>", "|", "<", "2>&1", "1>&2", "2>"};

bool isOperator(std::string_view word) {
    return std::find(std::begin(operators), std::end(operators), word) != std::end(operators);
}

const char* skipAll(const char* place, char c) {
    while (*place == c) {
        ++place;
    }
    return place;
}

}  // namespace

char* nextField(char** cursor, char delimiter) {
    char* const field = *cursor;
    if (*field == '\0') {
        return nullptr;
    }
    char* end = field;
    while (*end != '\0' && *end != delimiter) {
        ++end;
    }
    if (*end != '\0') {
        *end++ = '\0';
    }
    *cursor = end;
    return field;
}

void splitNameAndNumber(const std::string& text, std::string& name, int* number) {
    const size_t colon = text.find(':');
    if (colon != std::string::npos) {
        // NOLINTNEXTLINE(cert-err34-c): a text that isn't a number counts as 0
        *number = std::atoi(text.c_str() + colon + 1);
    }
    name.assign(text, 0, colon);
}

const char* nextArgument(const char* commandLine) {
    bool quoted = false;
    for (const char* place = commandLine;;) {
        switch (*place) {
            case '\0':
                return place;
            case '"':
                quoted = !quoted;
                ++place;
                break;
            case '\\': {
                const char* const end = skipAll(place, '\\');
                const bool escapes = (end - place) % 2 != 0 && *end == '"';
                place = escapes ? end + 1 : end;
                break;
            }
            case ' ':
                if (!quoted) {
                    return skipAll(place, ' ');
                }
                ++place;
                break;
            default:
                ++place;
        }
    }
}

const char* findUnescaped(const char* first, const char* last, char c, char esc) {
    NB_ASSERT(c != esc);
    for (const char* place = first; place != last;) {
        if (*place == esc) {
            if (last - place < 2) {
                return last;
            }
            place += 2;
        } else if (*place == c || *place == '\0') {
            // Compatibility: a NUL ends the scan as `c` does, so that C strings are
            // scanned to their end.
            return place;
        } else {
            ++place;
        }
    }
    return last;
}

const char* findAnyOf(const char* first, const char* last, const char* set) {
    CharacterSet wanted{std::string_view(set)};
    // Compatibility: a NUL is in every set, so that C strings are scanned to their end.
    wanted.add('\0');
    return std::find_if(first, last, [&](char c) { return wanted.contains(c); });
}

void appendQuotedWords(const char* const* words, std::string& commandLine) {
    for (; *words != nullptr; ++words) {
        if (isOperator(*words)) {
            commandLine += *words;
            commandLine += ' ';
        } else {
            // Compatibility: nothing inside the quotes is escaped. That is up to the caller.
            commandLine += '"';
            commandLine += *words;
            commandLine += "\" ";
        }
    }
}
