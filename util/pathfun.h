#pragma once

// Paths as text: nothing here touches the file system.
//
// A path is UTF-8 (or any bytes) and may use both `/` and `\`. Three forms of it are absolute: a
// drive (`C:\a`, and also `C:a` and `1:x`: any first character but a separator, and a colon after
// it), a share (`\\server\share`, with any number and kind of separators), and, in Cygwin mode
// alone, a path with a single leading `/` or of separators alone that begin with one. `\a` is not
// absolute. The normal form of an absolute path has forward slashes, no `.` or `..`, no doubled or
// trailing separator, and a `/` after a bare drive:
//
//     normalizePath("C:\\a\\.\\b\\")         == "C:/a/b"
//     normalizePath("\\\\srv\\sh\\a\\..")    == "//srv/sh"
//     joinPath("C:\\a", "b", '/')            == "C:\\a/b"
//
// Case is kept everywhere; the relations between paths ignore it, by the locale of the C runtime
// (see cruntime.h).
//
// All functions are reentrant. The one shared state is the Cygwin mode, which no lock guards: it
// must not be set while other threads do path work.

#include <string>
#include <vector>

#include "util/textspan.h"

/// The path mode of Windows paths, with both separators. Any other value means POSIX paths.
inline constexpr int windowsPaths = 1;

/// Cygwin mode: with `enabled`, a path with a single leading `/` is absolute, and a folder of one
/// character under `prefix` ("/cygdrive/") is the root of a drive. A prefix that doesn't end in a
/// separator, the empty one included, gets a `/`. Off at start-up.
void setCygwinPaths(bool enabled, const std::string& prefix);
bool cygwinPathsEnabled();

// Separators

constexpr bool isPathSeparator(char c, int mode = windowsPaths) {
    return c == '/' || (mode == windowsPaths && c == '\\');
}
/// Turns each `/` into `\`.
void toBackslashes(std::string& path);

// Roots and absolute paths

/// Tells whether `path` is absolute, and where its root ends: `root` is 0 to 2 for a drive, 0 to
/// the end of the share for a share, 0 to the end of a Cygwin drive's folder, and empty for any
/// other path, and in every mode but `windowsPaths`. `rootText`, if it isn't null, gets the root in
/// its normal spelling (`//server/share`).
bool parsePathRoot(StringSpan path, PathRange& root, std::string* rootText, int mode);
/// What `parsePathRoot` tells, without the rest.
bool isAbsolutePath(StringSpan path, int mode);

// Components

/// Appends the components of `path` to `components`, which isn't cleared: first the root, if the
/// path is absolute, then each name. If `components` is empty even then, it gets the range 0 to 0.
/// The result and `rootText` (which may be null) are those of `parsePathRoot`.
bool splitPath(const std::string& path, std::vector<PathRange>& components, std::string* rootText);

/// The component of `path` that `splitPath` puts at `index`; empty, at the end of the path, if it
/// has fewer, also for a path without any, for which `splitPath` gives 0 to 0. Walks no further
/// than that component.
PathRange pathComponent(StringSpan path, size_t index);

/// The normal form of `path`, which must be absolute: an assertion stops the process otherwise. A
/// `..` that climbs above the root is dropped without complaint. Any result that ends in `:`, and
/// not only a bare drive, gets a `/` after it.
std::string normalizePath(const std::string& path);
/// For text that isn't a std::string yet, or need not become one: util/normalform.h.

// Building and taking apart

/// `second` as seen from `first`, with nothing normalised. An absolute `second` is the result; one
/// with a leading separator follows the root of an absolute `first`; any other follows `first`,
/// with `separator` between them unless `first` ends in a separator of either kind. An empty one
/// leaves the other as it is. A `second` with a leading separator is the result, too, where `first`
/// is relative, or absolute with an empty root (Cygwin).
std::string joinPath(StringSpan first, StringSpan second, char separator);

/// What is before the last separator, and `.` if there is none.
std::string parentPath(const std::string& path);
/// What is after the last separator. Empty, and not the whole path, if there is none.
std::string leafName(const std::string& path);
/// What is after the last `.` of the last component, without the `.`. Empty if there is none,
/// or nothing after it.
std::string fileExtension(const std::string& path);

/// What `splitFileName` finds: five ranges, by these indices.
enum PathPart {
    drivePart,      ///< what is before a colon in second place, a separator as well
    directoryPart,  ///< up to and with the last separator
    leafPart,       ///< after it; its start alone can be relied on, the end may lie past the path's
    stemPart,       ///< from the start of the path to the extension's dot, or all of it
    extensionPart,  ///< from that dot, dot included
    pathPartCount,
};
using PathParts = std::vector<PathRange>;
/// Makes `parts` the parts of `path`; drive, directory and extension are empty where there is none.
void splitFileName(const std::string& path, PathParts& parts, int mode);
/// Cuts `path` after its last separator, which `dir` keeps. `dir` may be `path` itself.
void splitDirLeaf(const std::string& path, std::string& dir, std::string& leaf);
/// The same if the leaf holds a `*` or `%`. Otherwise `dir` is the whole path and `pattern` empty.
void splitWildcardLeaf(const std::string& path, std::string& dir, std::string& pattern);

/// Appends a `/` to a path that is empty or ends in `:`.
void terminateRoot(std::string& path);
/// Appends the paths to `out` with `;` between them.
void joinPathList(const std::vector<std::string>& paths, std::string& out);

// Relations between paths

/// Whether `path` is `prefix` or lies below it, as far as the text tells: without regard to case,
/// both separators being alike. An empty `prefix` holds the empty path and what begins with a
/// separator.
bool isInPath(const std::string& prefix, const std::string& path);

/// Cuts `base` off the front of `path` and leaves the rest as it is, empty if nothing is left.
/// Components are compared without regard to case; a NUL in both ends the comparison of a name.
/// False, and `path` unchanged, if `path` isn't absolute or doesn't lie in `base`. `base` must be
/// absolute: an assertion stops the process.
bool makeRelativeTo(const std::string& base, std::string& path);

// Small tests

/// True for exactly `.` and `..`.
bool isDotName(const char* name);
bool isDotName(const std::string& name);
bool isDotName(StringSpan name);

/// Moves the start of `path` after a leading `./` and all separators and further `./` that follow
/// it, a backslash being as good. False, and `path` unchanged, if it has fewer than three
/// characters or begins otherwise.
bool stripDotSlash(StringSpan& path);

/// The upper-case drive letter if `path`, which isn't null, is exactly a letter, `:` and a
/// separator, and otherwise 0.
char isDriveRoot(const char* path);

/// Whether the `:` at offset `loc` of a line of text is the colon of a drive letter. True needs a
/// letter, digit or `@` before it, and before that a space, tab, `(` or the line's start. Then a
/// separator after it is true, `(` or `:` false, all else `fallback`. `loc` is at most the line's
/// length; an assertion stops the process if there is no `:`.
bool isDriveColon(const std::string& line, size_t loc, bool fallback);
