#pragma once

#include <cstdint>
#include <string>

#include "util/windows/system/filestat-win.h"

// Operations on whole files and whole trees. Paths are UTF-8, with either kind of slash; absolute
// ones may have any length (see System::unicodePath). Nothing throws, except makePath and visitors,
// and except for lack of memory. Any thread may call these.

namespace System {

/// Copies the content of a file. If `destination` is missing, a new file is created, which
/// everybody may use. If it exists, its content is replaced, and it keeps its access rights and
/// other names; it must be neither read-only nor hidden nor a system file. Times and attributes
/// aren't copied. Source and destination must not be the same file.
///
/// Returns false on failure, with what failed and why in `message` ("System::copy unable to open
/// source file: The system cannot find the file specified"). A part of the destination may then
/// exist. On success `message` is unchanged.
[[nodiscard]] bool copy(const std::string& source, const std::string& destination,
                        std::string& message);

/// Creates a directory and its missing parents. Does nothing for a null or empty path. Another
/// process or thread may create the same directories at the same time.
///
/// `created`, unless it is null, is set to the outermost directory that the call created, even if
/// the call fails later. If the call created none, `created` is cleared if the directory or one of
/// its parents was found to exist before an attempt to create it; otherwise it is unchanged.
///
/// Throws std::runtime_error with the obstacle: `couldn't create directory "C:/a": already exists
/// as simple file`.
void makePath(const char* path, std::string* created);

/// Removes a directory with everything in it. That includes read-only files, but not read-only
/// directories. Links are removed, but not their targets. If `path` itself names a link, it is
/// followed.
///
/// Returns true on success, and also if there is nothing at `path`. A file at `path` is a failure,
/// and stays. An empty path means the content of the current directory. That directory itself
/// stays, which is a failure without `keepRoot`.
///
/// Returns false on failure. The rest is removed nevertheless, except further subdirectories, and
/// except the entries that a listing has after a link that can't be removed. What can't be deleted
/// is no longer read-only then. If `message` is empty, it receives the first failure. It names
/// entries of the directory, and the pattern of a listing, in the form of System::unicodePath
/// (`\\?\C:\tree\file`), and the directory itself as `path` does.
///
/// With `keepRoot` the directory itself stays. With `waitUntilGone`, and without `keepRoot`, the
/// call waits for up to 2.55 s while others hold the deleted directory open. After 0.63 s a message
/// about that replaces the content of `message`; the result is true nevertheless.
///
/// With `closeSystemHandles`, if a file of that directory, but not below it, can't be deleted, it
/// is searched for in the System process and closed there. HandleInspector documents the limits: no
/// absolute path finds anything, a relative path may hit a file of another directory, and calls in
/// one process must not overlap.
[[nodiscard]] bool removeTree(const std::string& path, std::string& message, bool keepRoot,
                              bool closeSystemHandles, bool waitUntilGone);

/// Receives the files that `walkTree` finds.
class TreeVisitor {
public:
    TreeVisitor() = default;
    TreeVisitor(const TreeVisitor&) = delete;
    TreeVisitor& operator=(const TreeVisitor&) = delete;
    virtual ~TreeVisitor() = default;
    /// Called for each file: `leaf` in `directory`, with its facts from the listing.
    virtual void visitFile(const std::string& directory, const std::string& leaf,
                           const FileStat& stat) = 0;
};

/// Calls `visitor` for each file of a directory. With `recurse` the files of all directories below
/// it follow, level by level. Directories that are links are entered like others. A cycle of links
/// ends where Windows follows no more links, and is a failure. Returns false as soon as a directory
/// can't be listed. Exceptions of the visitor pass through.
[[nodiscard]] bool walkTree(const std::string& path, TreeVisitor& visitor, bool recurse);

/// Returns the total size, in bytes, of all files in a directory and below it. A directory that
/// can't be listed counts as 0. Directories that are links are entered like others.
[[nodiscard]] uint64_t treeSize(const std::string& path);

}  // namespace System
