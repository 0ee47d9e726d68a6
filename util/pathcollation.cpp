#include "util/pathcollation.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>

#include "util/cruntime.h"
#include "util/pathfun.h"
#include "util/utf8decoder.h"

namespace {

bool isSeparator(const PathUnitCursor& cursor) { return isPathSeparatorUnit(cursor.unit); }

void skipSeparators(PathUnitCursor& cursor) {
    while (!cursor.atEnd() && isSeparator(cursor)) {
        cursor.next();
    }
}

/// A path in its two parts; `root` is empty for one that isn't rooted.
struct RootedPath {
    explicit RootedPath(StringSpan path) {
        PathRange range;
        isRooted = parsePathRoot(path, range, /*rootText=*/nullptr, windowsPaths);
        if (!isRooted && path.length != 0 && isPathSeparator(path.data[0])) {
            isRooted = true;
            range = {0, 1};
        }
        root = {path.data, isRooted ? range.end : 0};
        rest = {path.data + root.length, path.length - root.length};
    }

    bool isRooted;
    StringSpan root;
    StringSpan rest;
};

int compareRoots(StringSpan a, StringSpan b) {
    PathUnitCursor left(a);
    PathUnitCursor right(b);
    for (; !left.atEnd() && !right.atEnd(); left.next(), right.next()) {
        if (const int difference = compareCollation(left.unit, right.unit)) {
            return difference;
        }
    }
    return left.atEnd() ? (right.atEnd() ? 0 : -1) : 1;
}

/// How many bytes two texts have in common from their start on.
size_t commonLength(StringSpan a, StringSpan b) {
    const size_t shorter = std::min(a.length, b.length);
    size_t length = 0;
    for (; shorter - length >= sizeof(uint64_t); length += sizeof(uint64_t)) {
        uint64_t left = 0;
        uint64_t right = 0;
        std::memcpy(&left, a.data + length, sizeof left);
        std::memcpy(&right, b.data + length, sizeof right);
        if (left != right) {
            break;
        }
    }
    while (length < shorter && a.data[length] == b.data[length]) {
        ++length;
    }
    return length;
}

/// How many bytes can be passed over in both texts, as they are the same and no sequence or run of
/// separators goes on behind them.
size_t passableLength(StringSpan a, StringSpan b) {
    size_t length = commonLength(a, b);
    while (length > 0 && (static_cast<unsigned char>(a.data[length - 1]) >= 0x80 ||
                          isPathSeparator(a.data[length - 1]))) {
        --length;
    }
    return length;
}

int compareRests(PathUnitCursor& a, PathUnitCursor& b) {
    for (;;) {
        if (a.atEnd()) {
            skipSeparators(b);
            return b.atEnd() ? 0 : -1;
        }
        if (b.atEnd()) {
            skipSeparators(a);
            return a.atEnd() ? 0 : 1;
        }
        if (isSeparator(a) != isSeparator(b)) {
            return isSeparator(a) ? -1 : 1;
        }
        if (isSeparator(a)) {
            skipSeparators(a);
            skipSeparators(b);
            continue;
        }
        if (const int difference = compareCollation(a.unit, b.unit)) {
            return difference;
        }
        a.next();
        b.next();
    }
}

int compareNoCase(const Substring& a, const Substring& b) {
    const StringSpan left = a.span();
    const StringSpan right = b.span();
    const int order =
        cruntime::strnicmp(left.data, right.data, std::min(left.length, right.length));
    return order != 0 ? order : (left.length > right.length) - (left.length < right.length);
}

}  // namespace

int comparePaths(StringSpan a, StringSpan b) {
    const RootedPath left(a);
    const RootedPath right(b);
    if (left.isRooted != right.isRooted) {
        return left.isRooted ? 1 : -1;
    }
    if (const int difference = compareRoots(left.root, right.root)) {
        return difference;
    }
    const size_t passed = passableLength(left.rest, right.rest);
    PathUnitCursor leftRest({left.rest.data + passed, left.rest.length - passed});
    PathUnitCursor rightRest({right.rest.data + passed, right.rest.length - passed});
    if (left.isRooted && passed == 0) {
        skipSeparators(leftRest);
        skipSeparators(rightRest);
    }
    return compareRests(leftRest, rightRest);
}

bool pathCharsEqual(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b)) ||
           (isPathSeparator(a) && isPathSeparator(b));
}

bool StringNoCaseLess::operator()(const std::string& a, const std::string& b) const {
    return cruntime::stricmp(a.c_str(), b.c_str()) < 0;
}

bool StringNoCaseEqual::operator()(const std::string& a, const std::string& b) const {
    return cruntime::stricmp(a.c_str(), b.c_str()) == 0;
}

bool SubstringNoCaseLess::operator()(const Substring& a, const Substring& b) const {
    return compareNoCase(a, b) < 0;
}

bool SubstringNoCaseEqual::operator()(const Substring& a, const Substring& b) const {
    return compareNoCase(a, b) == 0;
}
