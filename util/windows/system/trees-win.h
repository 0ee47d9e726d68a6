#pragma once

#include <cstdint>
#include <string>

#include "util/windows/system/filestat-win.h"

// Whole files and whole trees, by UTF-8 paths with either kind of slash, absolute ones of any
// length (see System::unicodePath). Nothing throws but for lack of memory, save makePath and
// visitors. Any thread may call these.

namespace System {

/// Copies the content of a file into a new one that everybody may use, or into one that is there,
/// in place of its content; that one keeps its access rights and other names, and must be neither
/// read-only nor hidden nor a system file. Times and attributes aren't carried over, and the two
/// must not be the same file. False on failure, with what failed and why in `message`
/// ("System::copy unable to open source file: The system cannot find the file specified"); the
/// destination may then be there in part. On success `message` keeps its text.
bool copy(const std::string& source, const std::string& destination, std::string& message);

/// Makes a directory and those of its parents that are missing. Does nothing for a null or empty
/// path. Another process or thread may make the same directories meanwhile.
///
/// `created`, unless it is null, gets the outermost directory that the call made, also if it fails
/// later. If the call makes none, it is cleared where the directory or one of its parents was found
/// by a look before a try, and otherwise keeps its text.
///
/// Throws std::runtime_error with what stood in the way: `couldn't create directory "C:/a":
/// already exists as simple file`.
void makePath(const char* path, std::string* created);

/// Removes a directory with all that is in it, read-only files included but not read-only
/// directories, and links, but not what they lead to. A link that `path` itself names is followed.
///
/// False on failure; the rest is removed all the same, as far as it is no further subdirectory and
/// doesn't follow a link that can't be removed. What can't be deleted is no longer read-only then.
/// `message`, if it is empty, gets the first failure. It names what is in the directory, and the
/// pattern of a listing, in the form of System::unicodePath (`\\?\C:\tree\file`), and the
/// directory itself as `path` does. True if there is nothing at `path`; a file
/// there fails, and stays. An empty path stands for what is in the current directory, which itself
/// stays: without `keepRoot` that is a failure.
///
/// With `keepRoot` the directory itself stays. With `waitUntilGone`, and without `keepRoot`, the
/// call waits for up to 2.55 s as long as others hold the deleted directory open; from 0.63 s on
/// `message` says so, in place of what it held, and the result is true all the same.
///
/// With `closeSystemHandles` the System process is searched for a file of that directory (none
/// below it) that resists, and made to let go of it. HandleInspector tells of its limits: no
/// absolute path finds anything, a relative one may hit another directory's file, and calls of one
/// process must not overlap.
bool removeTree(const std::string& path, std::string& message, bool keepRoot,
                bool closeSystemHandles, bool waitUntilGone);

/// What `walkTree` calls.
class TreeVisitor {
public:
    TreeVisitor() = default;
    TreeVisitor(const TreeVisitor&) = delete;
    TreeVisitor& operator=(const TreeVisitor&) = delete;
    virtual ~TreeVisitor() = default;
    /// A file `leaf` in `directory`, and what the listing says of it.
    virtual void visitFile(const std::string& directory, const std::string& leaf,
                           const FileStat& stat) = 0;
};

/// Shows the files of a directory to `visitor`, with `recurse` those of all directories below it
/// as well, level by level. Directories that are links are entered like others; a circle of them
/// ends, and is a failure, where Windows follows no more links. False as soon as a directory can't
/// be listed. What the visitor throws passes through.
bool walkTree(const std::string& path, TreeVisitor& visitor, bool recurse);

/// The bytes of all files in a directory and below it. What can't be listed counts as 0.
/// Directories that are links are entered like others.
uint64_t treeSize(const std::string& path);

}  // namespace System
