#include "util/stringcompare.h"

#include <algorithm>
#include <cstring>

#include "util/cruntime.h"

namespace {

// Turns the result over the first min(a.length, b.length) characters into "less". If these don't
// differ, the proper prefix comes first.
bool isLess(int result, size_t lengthOfA, size_t lengthOfB) {
    return lengthOfA >= lengthOfB ? result < 0 : result <= 0;
}

size_t lengthOf(const TextRange& range) { return range.second - range.first; }

int compareWideNoCase(const wchar_t* a, const wchar_t* b, size_t count) {
    // Null pointers come only with a count of 0. The C runtime guarantees nothing for them.
    return count == 0 ? 0 : cruntime::wcsnicmp(a, b, count);
}

}  // namespace

bool equalsNoCase(StringSpan a, StringSpan b) {
    return a.length == b.length && compareNoCase(a.data, b.data, a.length) == 0;
}

bool lessNoCase(StringSpan a, StringSpan b) {
    return isLess(compareNoCase(a.data, b.data, std::min(a.length, b.length)), a.length, b.length);
}

bool equalsNoCase(WideSpan a, WideSpan b) {
    return a.length == b.length && compareWideNoCase(a.data, b.data, a.length) == 0;
}

bool lessNoCase(WideSpan a, WideSpan b) {
    const int result = compareWideNoCase(a.data, b.data, std::min(a.length, b.length));
    return isLess(result, a.length, b.length);
}

bool equalsExact(StringSpan a, StringSpan b) {
    return a.length == b.length && (a.data == b.data || a.view() == b.view());
}

bool lessExact(StringSpan a, StringSpan b) { return a.view() < b.view(); }

int compareNoCase(const char* a, const char* b, size_t n) {
    if (a == nullptr || b == nullptr) {
        return (a == nullptr ? 0 : 1) - (b == nullptr ? 0 : 1);
    }
    return cruntime::strnicmp(a, b, n);
}

bool StringLess::operator()(const std::string& a, const std::string& b) const {
    if (!caseSensitive) {
        if (const int result = cruntime::stricmp(a.c_str(), b.c_str()); result != 0) {
            return result < 0;
        }
    }
    return std::strcmp(a.c_str(), b.c_str()) < 0;
}

bool StringEqual::operator()(const std::string& a, const std::string& b) const {
    return (caseSensitive ? std::strcmp(a.c_str(), b.c_str())
                          : cruntime::stricmp(a.c_str(), b.c_str())) == 0;
}

bool RangeLess::operator()(const TextRange& a, const TextRange& b) const {
    const char* const startOfA = text->data() + a.first;
    const char* const startOfB = text->data() + b.first;
    const size_t n = std::min(lengthOf(a), lengthOf(b));
    if (!caseSensitive) {
        if (const int result = cruntime::strnicmp(startOfA, startOfB, n); result != 0) {
            return result < 0;
        }
    }
    if (const int result = std::strncmp(startOfA, startOfB, n); result != 0) {
        return result < 0;
    }
    return lengthOf(a) < lengthOf(b);
}

bool RangeEqual::operator()(const TextRange& a, const TextRange& b) const {
    if (lengthOf(a) != lengthOf(b)) {
        return false;
    }
    const char* const startOfA = text->data() + a.first;
    const char* const startOfB = text->data() + b.first;
    return (caseSensitive ? std::strncmp(startOfA, startOfB, lengthOf(a))
                          : cruntime::strnicmp(startOfA, startOfB, lengthOf(a))) == 0;
}
