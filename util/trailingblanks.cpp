#include "util/trailingblanks.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace {

constexpr size_t none = std::wstring_view::npos;

constexpr bool isBlankOrDot(wchar_t c) { return c == L' ' || c == L'.'; }

constexpr bool isNameEnd(wchar_t c) {
    return c == L'\\' || c == L'\n' || c == L'\r' || c == L'\f' || c == 0x85 || c == 0x2028 ||
           c == 0x2029;
}

/// Whether one of `count` units may be the last of a run. Reads one unit more. Hardly any unit of a
/// path is one, so the loop has a form that compilers turn into vector code.
bool mayEndRun(const wchar_t* units, size_t count) {
    const auto bit = [](bool isSo) { return static_cast<wchar_t>(isSo ? 1 : 0); };
    wchar_t found = 0;
    for (size_t i = 0; i < count; ++i) {
        const wchar_t next = units[i + 1];
        const wchar_t inRun = bit(units[i] == L' ') | bit(units[i] == L'.');
        const wchar_t atEnd = bit(next == L'\\') | bit(next < 0x20) | bit(next >= 0x80);
        found = static_cast<wchar_t>(found | (inRun & atEnd));
    }
    return found != 0;
}

/// Returns the last unit of the first run that ends a name, from `at` on. Runs are usually close
/// together, so this checks single units first, and whole blocks only where it found nothing.
size_t findRunEnd(std::wstring_view path, size_t at) {
    constexpr size_t block = 64;
    while (at < path.size()) {
        for (const size_t end = std::min(path.size(), at + block); at < end; ++at) {
            if (isBlankOrDot(path[at]) && (at + 1 == path.size() || isNameEnd(path[at + 1]))) {
                return at;
            }
        }
        while (path.size() - at > block && !mayEndRun(path.data() + at, block)) {
            at += block;
        }
    }
    return none;
}

/// Returns where the part to remove begins in the run that ends before `end`.
size_t findSurplus(std::wstring_view path, size_t end) {
    size_t begin = end;
    while (begin != 0 && isBlankOrDot(path[begin - 1])) {
        --begin;
    }
    if (begin != 0 && path[begin - 1] != L'\\') {
        return begin;
    }
    // The run is the whole name: its leading dots and its first blank stay.
    while (begin != end && path[begin] == L'.') {
        ++begin;
    }
    return std::min(begin + 1, end);
}

}  // namespace

void removeTrailingBlanks(std::wstring& path) {
    wchar_t* const units = path.data();
    size_t kept = 0;  // the length of the finished part
    size_t next = 0;  // where the rest begins
    const auto keepUpTo = [&](size_t end) {
        if (kept != next) {
            std::char_traits<wchar_t>::move(units + kept, units + next, end - next);
        }
        kept += end - next;
        next = end;
    };
    for (size_t last = findRunEnd(path, 0); last != none; last = findRunEnd(path, next)) {
        keepUpTo(findSurplus(path, last + 1));
        next = last + 1;
    }
    keepUpTo(path.size());
    path.resize(kept);
}
