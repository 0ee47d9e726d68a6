#include "util/pathrelation.h"

#include <cctype>
#include <cstring>

#include "util/cruntime.h"
#include "util/pathbytes.h"
#include "util/pathroot.h"

namespace {

/// Converts to lower case. ASCII letters are folded without the locale and without a call; the
/// locale decides about the other bytes.
int lowerCase(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
        return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
    }
    return std::tolower(byte);
}

}  // namespace

bool liesIn(StringSpan prefix, StringSpan path) {
    const size_t size = prefix.length;
    if (path.length < size) {
        return false;
    }
    // Characters that aren't alike in ASCII may still be alike in the locale.
    for (size_t at = 0;; ++at) {
        at += pathbytes::alikeLength(prefix.data + at, path.data + at, size - at);
        if (at == size) {
            break;
        }
        if (lowerCase(prefix.data[at]) != lowerCase(path.data[at])) {
            return false;
        }
    }
    return path.length == size || (size != 0 && isPathSeparator(prefix.data[size - 1])) ||
           isPathSeparator(path.data[size]);
}

std::optional<size_t> restBelow(StringSpan base, StringSpan path) {
    const PathRoot pathRoot = findRoot(path);
    if (!pathRoot.absolute) {
        return std::nullopt;
    }
    const PathRoot baseRoot = findRoot(base);
    assertAbsolute(baseRoot.absolute);

    PathRange ours = baseRoot.range;
    PathRange theirs = pathRoot.range;
    // Compares the roots first, and then the names, until the base has no more.
    do {
        const char* name = base.data + ours.begin;
        const char* other = path.data + theirs.begin;
        if (ours.length() != theirs.length() ||
            (std::memcmp(name, other, ours.length()) != 0 &&
             cruntime::strnicmp(name, other, ours.length()) != 0)) {
            return std::nullopt;
        }
        ours = nextName(base, ours.end);
        theirs = nextName(path, theirs.end);
    } while (ours.length() != 0);
    return theirs.begin;
}
