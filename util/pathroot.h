#pragma once

// The root of a path and the steps from name to name, for the path functions.

#include <cstddef>
#include <string>

#include "util/pathfun.h"
#include "util/pathmarks.h"
#include "util/textspan.h"

/// Returns the first place at or after `at` that has no separator, or the end of the path.
[[nodiscard]] inline size_t skipSeparators(StringSpan path, size_t at) {
    while (at < path.length && isPathSeparator(path.data[at])) {
        ++at;
    }
    return at;
}

/// Returns the next separator at or after `at`, or the end of the path.
[[nodiscard]] inline size_t skipName(StringSpan path, size_t at) {
    while (at < path.length && !isPathSeparator(path.data[at])) {
        ++at;
    }
    return at;
}

/// Returns the next name after `at` and the separators there. If there is none, the result is
/// empty, at the end of the path.
[[nodiscard]] inline PathRange nextName(StringSpan path, size_t at) {
    const size_t begin = skipSeparators(path, at);
    return {begin, skipName(path, begin)};
}

/// The result of a search for a root.
struct PathRoot {
    bool absolute = false;  ///< as isAbsolutePath returns it
    PathRange range;        ///< starts at 0; empty for a path without a root
    PathRange server;       ///< of a share; empty otherwise
    PathRange share;        ///< of a share; empty otherwise

    /// Returns whether the root is a server and a share.
    [[nodiscard]] bool isShare() const { return share.end != 0; }

    /// The length of the normal spelling.
    [[nodiscard]] size_t textLength() const {
        return isShare() ? 3 + server.length() + share.length() : range.length();
    }

    /// Writes the normal spelling, `textLength()` characters, and returns the place after it.
    char* writeText(StringSpan path, char* to) const;
};

/// Cygwin mode (see setCygwinPaths).
struct CygwinPathMode {
    bool enabled = false;     ///< off at start-up
    std::string drivePrefix;  ///< ends in a separator
};
extern CygwinPathMode gCygwinPathMode;  ///< set by setCygwinPaths alone

/// The length of a drive: any character except a separator, and a colon.
inline constexpr size_t driveLength = 2;
/// Returns whether `path` begins with a drive. Anything may follow.
[[nodiscard]] constexpr bool beginsWithDrive(StringSpan path) {
    return path.length >= driveLength && path.data[1] == ':' && !isPathSeparator(path.data[0]);
}

/// Returns whether `path` begins with a folder of one character under the Cygwin drive prefix.
[[nodiscard]] bool beginsWithCygwinDrive(StringSpan path);

/// Returns the root of a path that begins with two separators or more, after which the server
/// begins at `serverBegin`. If no share follows, there is no root.
[[nodiscard]] inline PathRoot findShare(PathMarks& marks, size_t serverBegin) {
    PathRoot root;
    const size_t serverEnd = marks.nextSeparator(serverBegin);
    const size_t shareBegin = marks.nextNameCharacter(serverEnd);
    if (shareBegin == marks.path().length) {
        return root;
    }
    root.absolute = true;
    root.server = {serverBegin, serverEnd};
    root.share = {shareBegin, marks.nextSeparator(shareBegin)};
    root.range = {0, root.share.end};
    return root;
}

/// Returns the root of a path that doesn't begin with a drive. Inline for normalForm, where the
/// time for shares is measured; all other callers use the function below.
[[nodiscard]] inline PathRoot findOtherRoot(PathMarks& marks) {
    const StringSpan path = marks.path();
    PathRoot root;
    if (path.length == 0 || !isPathSeparator(path.data[0])) {
        return root;
    }
    const bool posixRoot = gCygwinPathMode.enabled && path.data[0] == '/';
    if (posixRoot && beginsWithCygwinDrive(path)) {
        root.absolute = true;
        root.range = {0, gCygwinPathMode.drivePrefix.size() + 1};
        return root;
    }
    const size_t name = marks.nextNameCharacter(0);
    if (name == path.length || name == 1) {
        root.absolute = posixRoot;
        return root;
    }
    return findShare(marks, name);
}
/// The same for a path without marks.
[[nodiscard]] PathRoot findOtherRoot(StringSpan path);

/// Returns the root of a path that begins with a drive.
[[nodiscard]] inline PathRoot driveRoot() {
    PathRoot root;
    root.absolute = true;
    root.range = {0, driveLength};
    return root;
}

/// Returns the root of any path.
[[nodiscard]] inline PathRoot findRoot(PathMarks& marks) {
    return beginsWithDrive(marks.path()) ? driveRoot() : findOtherRoot(marks);
}

/// The same for a path without marks.
[[nodiscard]] inline PathRoot findRoot(StringSpan path) {
    return beginsWithDrive(path) ? driveRoot() : findOtherRoot(path);
}

/// Stops the process by an assertion if a path that must be absolute isn't.
void assertAbsolute(bool absolute);
