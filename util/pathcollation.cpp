#include "util/pathcollation.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

#include "util/cruntime.h"
#include "util/pathbytes.h"
#include "util/pathfun.h"
#include "util/pathroot.h"
#include "util/utf8decoder.h"

namespace {

bool isSeparator(const PathUnitCursor& cursor) { return isPathSeparatorUnit(cursor.unit); }

void skipSeparators(PathUnitCursor& cursor) {
    while (!cursor.atEnd() && isSeparator(cursor)) {
        cursor.next();
    }
}

/// A path, split into root and rest; `root` is empty if the path isn't rooted.
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

/// Returns how many bytes can be skipped in both texts: they are alike, and no sequence or run of
/// separators continues after them.
size_t passableLength(StringSpan a, StringSpan b) {
    constexpr size_t longestSequence = 4;
    size_t length = pathbytes::alikeLength(a.data, b.data, std::min(a.length, b.length));
    for (size_t back = 1; back < longestSequence && back <= length; ++back) {
        const auto byte = static_cast<unsigned char>(a.data[length - back]);
        if (byte < 0x80) {
            break;
        }
        if (byte >= 0xC0) {
            length -= back;
            break;
        }
    }
    while (length > 0 && isPathSeparator(a.data[length - 1])) {
        --length;
    }
    return length;
}

StringSpan after(StringSpan text, size_t length) {
    return {text.data + length, text.length - length};
}

/// Moves both past an ASCII character that they are at, and past what is alike after it.
void passAlike(PathUnitCursor& a, PathUnitCursor& b) {
    const StringSpan left(a.position + 1, static_cast<size_t>(a.end - a.position) - 1);
    const StringSpan right(b.position + 1, static_cast<size_t>(b.end - b.position) - 1);
    const size_t length = passableLength(left, right);
    a = PathUnitCursor(after(left, length));
    b = PathUnitCursor(after(right, length));
}

int compareRests(PathUnitCursor a, PathUnitCursor b) {
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
        // Units with the same weight are both ASCII, or neither is.
        if (a.value < 0x80) {
            passAlike(a, b);
        } else {
            a.next();
            b.next();
        }
    }
}

bool isAsciiNameCharacter(char c) {
    return static_cast<signed char>(c) >= 0 && !isPathSeparator(c);
}

/// Compares what follows two equal roots. The first `passed` bytes of it are alike.
int compareAfterRoots(StringSpan a, StringSpan b, size_t passed) {
    // Nearly always two ASCII characters differ there, and so do their weights.
    if (passed != 0 && passed < a.length && passed < b.length &&
        isAsciiNameCharacter(a.data[passed]) && isAsciiNameCharacter(b.data[passed])) {
        const auto unitOf = [](char c) { return static_cast<uint16_t>(c); };
        return compareCollation(unitOf(a.data[passed]), unitOf(b.data[passed]));
    }
    PathUnitCursor left(after(a, passed));
    PathUnitCursor right(after(b, passed));
    if (passed == 0) {
        skipSeparators(left);
        skipSeparators(right);
    }
    return compareRests(left, right);
}

int compareOnDrives(StringSpan a, StringSpan b) {
    const size_t passed = passableLength(a, b);
    if (passed < driveLength) {
        return compareRoots({a.data, driveLength}, {b.data, driveLength});
    }
    return compareAfterRoots(after(a, driveLength), after(b, driveLength), passed - driveLength);
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
    if (beginsWithDrive(a) && beginsWithDrive(b)) {
        return compareOnDrives(a, b);
    }
    const RootedPath left(a);
    const RootedPath right(b);
    if (left.isRooted != right.isRooted) {
        return left.isRooted ? 1 : -1;
    }
    if (const int difference = compareRoots(left.root, right.root)) {
        return difference;
    }
    const size_t passed = passableLength(left.rest, right.rest);
    if (left.isRooted) {
        return compareAfterRoots(left.rest, right.rest, passed);
    }
    return compareRests(PathUnitCursor(after(left.rest, passed)),
                        PathUnitCursor(after(right.rest, passed)));
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
