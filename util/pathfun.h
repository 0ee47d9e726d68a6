#pragma once

// Paths as text: nothing here touches the file system.
//
// A path is UTF-8 (or any bytes) and may use both `/` and `\`. These forms are absolute:
//
// - a drive: `C:\a`, and also `C:a` and `1:x`: any first character except a separator, and a colon
//   after it;
// - a share: `\\server\share`, with separators of any kind, two or more before the server and one
//   or more before the share;
// - only in Cygwin mode: a path with a single leading `/`, or one that consists of separators and
//   begins with `/`.
//
// `\a` is not absolute. The normal form of an absolute path has forward slashes, no `.` or `..`, no
// doubled or trailing separator, and a `/` after a bare drive:
//
//     normalizePath("C:\\a\\.\\b\\")         == "C:/a/b"
//     normalizePath("\\\\srv\\sh\\a\\..")    == "//srv/sh"
//     joinPath("C:\\a", "b", '/')            == "C:\\a/b"
//
// The case of names never changes. Comparisons of paths ignore it, by the locale of the C runtime
// (see cruntime.h).
//
// All functions are reentrant. The only shared state is the Cygwin mode. No lock guards it: it must
// not be set while other threads use path functions.

#include <cstddef>
#include <string>
#include <vector>

#include "util/textspan.h"

/// The kind of a path. Windows paths have both separators. In POSIX paths only `/` separates, and a
/// path is absolute if it begins with `/`. Every value other than windowsPaths means POSIX
/// paths.
using PathMode = int;
inline constexpr PathMode posixPaths = 0;    ///< only `/` separates
inline constexpr PathMode windowsPaths = 1;  ///< `/` and `\` separate

/// Sets the Cygwin mode, which is off at start-up. If `enabled`, a path with a single leading `/`
/// is absolute, and a folder of one character under `prefix` ("/cygdrive/") is the root of a drive.
/// If `prefix` doesn't end in a separator, or is empty, a `/` is appended.
void setCygwinPaths(bool enabled, const std::string& prefix);
/// Returns whether the Cygwin mode is on.
[[nodiscard]] bool cygwinPathsEnabled();

// Separators

/// Returns whether a path of this kind is separated by `c`.
[[nodiscard]] constexpr bool isPathSeparator(char c, PathMode mode = windowsPaths) {
    return c == '/' || (mode == windowsPaths && c == '\\');
}
/// Turns each `/` into `\`.
void toBackslashes(std::string& path);

// Roots and absolute paths

/// Returns whether `path` is absolute, and stores its root in `root`. For a drive this is 0 to 2,
/// for a share 0 to the end of the share, and for a Cygwin drive 0 to the end of its folder. For
/// any other path, and in every mode except `windowsPaths`, it is empty. If `rootText` isn't null,
/// it becomes the root in its normal spelling.
///
///     path              result   root       rootText
///     C:\foo            true     0 to 2     C:
///     \\srv\share\x     true     0 to 11    //srv/share
///     \\srv             false    empty      empty
///     \foo              false    empty      empty
///     /foo              false    empty      empty          true in Cygwin mode
///     /cygdrive/c/x     true     0 to 11    /cygdrive/c    in Cygwin mode
[[nodiscard]] bool parsePathRoot(StringSpan path, PathRange& root, std::string* rootText,
                                 PathMode mode);
/// Returns whether `path` is absolute, as `parsePathRoot` does.
[[nodiscard]] bool isAbsolutePath(StringSpan path, PathMode mode);

// Components

/// Appends the components of `path` to `components`, which isn't cleared: first the root, if the
/// path is absolute, then each name. If `components` is still empty then, the range 0 to 0 is
/// appended. The result and `rootText` (which may be null) are those of `parsePathRoot`.
///
///     \\srv\share\\a/.//b\    \\srv\share, a, ., b
///     \a/b                    a, b
bool splitPath(const std::string& path, std::vector<PathRange>& components, std::string* rootText);

/// Returns the component of `path` that `splitPath` puts at `index`. If the path has fewer
/// components, the result is empty, at the end of the path. This is also so for a path without any
/// component, where `splitPath` appends 0 to 0. Reads no further than that component.
[[nodiscard]] PathRange pathComponent(StringSpan path, size_t index);

/// Returns the normal form of `path`, which must be absolute: otherwise an assertion stops the
/// process. A `..` that climbs above the root is dropped. Any result that ends in `:`, not only a
/// bare drive, gets a trailing `/`.
///
///     C:\a\b\..\..\..    C:/
///     C:foo              C:/foo
///     C:/a:              C:/a:/
///     \\srv\sh\a\..      //srv/sh
[[nodiscard]] std::string normalizePath(const std::string& path);
/// For text that isn't a std::string, or a result that needn't be one, see util/normalform.h.

// Building and taking apart

/// Returns `second` as seen from `first`:
///
/// - If one of the two is empty, the result is the other.
/// - If `second` is absolute, it is the result.
/// - If `second` has a leading separator, it is appended to the root of `first`, which is written
///   in its normal spelling. If `first` is relative, or absolute with an empty root (Cygwin), the
///   result is `second`.
/// - Otherwise `second` is appended to `first`, with `separator` between them unless `first` ends
///   in a separator of either kind.
///
/// Nothing else is normalised. With '/' as the separator:
///
///     C:\a             b        C:\a/b
///     C:\a\            b        C:\a\b
///     C:\a             D:\b     D:\b
///     C:\a             \b       C:\b
///     \\srv\\sh\a      \b       //srv/sh\b
///     rel              \b       \b
[[nodiscard]] std::string joinPath(StringSpan first, StringSpan second, char separator);

/// Returns the part before the last separator, or `.` if there is no separator.
[[nodiscard]] std::string parentPath(const std::string& path);
/// Returns the part after the last separator. If there is no separator, the result is empty, not
/// the whole path.
[[nodiscard]] std::string leafName(const std::string& path);
/// Returns the part after the last dot of the last component. It is empty if there is no dot, or
/// nothing after it.
///
///     a\b.c.d    d
///     .x         x
///     a.b/c      empty
///     a.         empty
[[nodiscard]] std::string fileExtension(const std::string& path);

/// The indices of the five ranges that `splitFileName` finds.
enum PathPart {
    drivePart,      ///< the character before a colon in second place, even a separator
    directoryPart,  ///< up to and including the last separator
    leafPart,       ///< after it; only its start is reliable, its end may be past the path's end
    stemPart,       ///< from the start of the path to the extension's dot, or the whole path
    extensionPart,  ///< from that dot on, including the dot
    pathPartCount,  ///< how many there are
};
/// Ranges of a path, by PathPart.
using PathParts = std::vector<PathRange>;
/// Stores the parts of `path` in `parts`. Drive, directory and extension are empty if `path` has
/// none.
///
///     path        drive   directory   leaf    stem      extension
///     C:\a/b.c    C       C:\a/       b.c     C:\a/b    .c
///     a.b/c               a.b/        c       a.b/c
///     a.b                             a.b     a         .b
///     .x                              .x      .x        .x
void splitFileName(const std::string& path, PathParts& parts, PathMode mode);
/// Splits `path` after its last separator, which `dir` keeps. Without a separator `dir` becomes
/// empty and `leaf` the whole path. `dir` may be `path` itself.
void splitDirLeaf(const std::string& path, std::string& dir, std::string& leaf);
/// The same if the leaf contains a `*` or `%`. Otherwise `dir` becomes the whole path and `pattern`
/// empty.
///
///     a/*.c    a/      *.c
///     a*/b     a*/b    empty
void splitWildcardLeaf(const std::string& path, std::string& dir, std::string& pattern);

/// Appends a `/` to a path that is empty or ends in `:`.
void terminateRoot(std::string& path);
/// Appends the paths to `out` with `;` between them.
void joinPathList(const std::vector<std::string>& paths, std::string& out);

// Relations between paths

/// Returns whether `path` is `prefix` or lies below it, judged by the text only. Case is ignored
/// and both separators are equal. An empty `prefix` contains the empty path and every path that
/// begins with a separator.
///
///     prefix    path      result
///     C:\a      c:/A      true
///     C:\a      c:/a/b    true
///     C:\a      C:\ab     false
///     C:\a\     C:\a      false
[[nodiscard]] bool isInPath(const std::string& prefix, const std::string& path);

/// Removes the leading `base` from `path` and leaves the rest verbatim, or empty if nothing is
/// left. Components are compared without regard to case; a NUL in both ends the comparison of a
/// name. The root is one component: roots with different separators differ.
///
/// Returns false, and leaves `path` unchanged, if `path` isn't absolute or isn't in `base`. `base`
/// must be absolute: otherwise an assertion stops the process.
///
///     base        path           result   path afterwards
///     M:/v        m:/V/x//y      true     x//y
///     M:/v        m:/v//         true     empty
///     M:/v        M:/vw/x        false    M:/vw/x
///     //srv/sh    \\srv\sh\a     false    \\srv\sh\a
[[nodiscard]] bool makeRelativeTo(const std::string& base, std::string& path);

// Small tests

/// @{
/// Return true for exactly `.` and `..`.
[[nodiscard]] bool isDotName(const char* name);
[[nodiscard]] bool isDotName(const std::string& name);
[[nodiscard]] bool isDotName(StringSpan name);
/// @}

/// Moves the start of `path` past what leads to the current folder. That is a `./`, and all
/// separators and further `./` after it; backslashes count as well. Returns false, and leaves
/// `path` unchanged, if it has fewer than three characters or begins differently.
///
///     ./.x             .x
///     .\/.\\./a/./b    a/./b
///     .//              empty
///     ./               false
[[nodiscard]] bool stripDotSlash(StringSpan& path);

/// Returns the upper-case drive letter if `path`, which must not be null, is exactly a letter, `:`
/// and a separator. Otherwise returns 0.
[[nodiscard]] char isDriveRoot(const char* path);

/// Returns whether the `:` at offset `loc` of a line of text is the colon of a drive letter. The
/// character before it must be a letter, a digit or `@`, and before that must be a space, a tab,
/// `(` or the start of the line; otherwise the result is false. Then the character after the colon
/// decides: for a separator the result is true, for `(` or `:` false, and for all else, or the end
/// of the line, `fallback`.
///
///     line         loc   result
///     C:\x         1     true
///     all: C:/x    6     true
///     all: C:/x    3     false
///     C::x         1     false
///     C:x          1     fallback
///
/// `loc` is at most the line's length. An assertion stops the process if there is no `:` at `loc`.
[[nodiscard]] bool isDriveColon(const std::string& line, size_t loc, bool fallback);
