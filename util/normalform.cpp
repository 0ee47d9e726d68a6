#include "util/normalform.h"

#include <cstddef>

#include "util/pathbytes.h"
#include "util/pathroot.h"

namespace {

/// Returns the length of the name at `at` if it is `.` or `..`, and otherwise 0.
size_t dotNameLength(StringSpan path, size_t at) {
    size_t length = 0;
    while (length < 2 && at + length < path.length && path.data[at + length] == '.') {
        ++length;
    }
    const size_t end = at + length;
    return end == path.length || isPathSeparator(path.data[end]) ? length : 0;
}

/// For names with a slash before each, returns where the last one's slash is; `begin` if there is
/// none.
char* beforeLastName(const char* begin, char* end) {
    while (end != begin && *--end != '/') {
    }
    return end;
}

/// Whether a path is on a drive and, except for the kind of its separators, in normal form. This
/// includes the path's end. It is true for nearly every path.
bool isTidyDrivePath(PathMarks& path) {
    const auto [text, length] = path.path();
    // Because the last character isn't the drive's colon, there is one after the drive.
    return beginsWithDrive(path.path()) && text[length - 1] != ':' &&
           isPathSeparator(text[driveLength]) && path.nextUntidy(driveLength) == length;
}

/// The same for a share. Always false in Cygwin mode, where other roots begin the same way.
bool isTidySharePath(PathMarks& path) {
    constexpr size_t serverBegin = 2;
    const auto [text, length] = path.path();
    return !gCygwinPathMode.enabled && length > serverBegin && isPathSeparator(text[0]) &&
           path.nextNameCharacter(0) == serverBegin && path.nextSeparator(serverBegin) != length &&
           text[length - 1] != ':' && path.nextUntidy(serverBegin) == length;
}

/// Returns a copy in which all separators from `from` on are slashes.
std::string copySlashed(StringSpan path, size_t from) {
    std::string copy(path.view());
    pathbytes::copySeparatedBy('/', path.data + from, path.length - from, copy.data() + from);
    return copy;
}

/// Writes the names of a path, each after a slash, without `.` and with `..` resolved, and returns
/// the place after them.
char* writeNames(PathMarks& marks, size_t rootEnd, char* const to) {
    const StringSpan path = marks.path();
    char* end = to;
    for (size_t at = marks.nextNameCharacter(rootEnd); at < path.length;
         at = marks.nextNameCharacter(at)) {
        if (const size_t dots = dotNameLength(path, at)) {
            end = dots == 1 ? end : beforeLastName(to, end);
            at += dots;
            continue;
        }
        const size_t tidyEnd = marks.nextUntidy(at);
        *end++ = '/';
        pathbytes::copySeparatedBy('/', path.data + at, tidyEnd - at, end);
        end += tidyEnd - at;
        at = tidyEnd;
    }
    return end;
}

/// The maximum length of a normal form. A separator can be added before the first name and after a
/// colon at the end.
constexpr size_t roomFor(StringSpan path) { return path.length + 2; }

/// Writes the normal form, and returns the place after it.
char* writeNormalForm(PathMarks& path, const PathRoot& root, char* to) {
    char* const rootEnd = root.writeText(path.path(), to);
    char* end = writeNames(path, root.range.end, rootEnd);
    if (end == to || end[-1] == ':') {
        *end++ = '/';
    }
    return end;
}

/// The normal form of a path that isn't a tidy one on a drive.
std::string otherNormalForm(PathMarks& marks) {
    const StringSpan path = marks.path();
    if (isTidySharePath(marks)) {
        return copySlashed(path, 0);
    }
    const PathRoot root = findRoot(marks);
    assertAbsolute(root.absolute);
    PathBuffer buffer(roomFor(path), boost::container::default_init);
    return {buffer.data(), writeNormalForm(marks, root, buffer.data())};
}

}  // namespace

std::string normalForm(StringSpan path) {
    PathMarks marks(path);
    if (isTidyDrivePath(marks)) {
        return copySlashed(path, driveLength);
    }
    return otherNormalForm(marks);
}

std::string_view normalFormIn(PathBuffer& buffer, StringSpan path, char separator) {
    buffer.resize(roomFor(path), boost::container::default_init);
    char* const begin = buffer.data();
    PathMarks marks(path);
    if (isTidyDrivePath(marks)) {
        pathbytes::copySeparatedBy(separator, path.data, path.length, begin);
        return {begin, path.length};
    }
    const PathRoot root = findRoot(marks);
    assertAbsolute(root.absolute);
    const auto size = static_cast<size_t>(writeNormalForm(marks, root, begin) - begin);
    if (separator != '/') {
        pathbytes::copySeparatedBy(separator, begin, size, begin);
    }
    return {begin, size};
}

bool isTidyOnDrive(StringSpan path) {
    PathMarks marks(path);
    return isTidyDrivePath(marks);
}
