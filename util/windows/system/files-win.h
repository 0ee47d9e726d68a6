#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <windows.h>

#include "util/windows/callresult.h"
#include "util/windows/system/filestat-win.h"

// Operations on files. Paths are UTF-8, with either kind of slash; absolute ones may have any
// length (see System::unicodePath). No function throws, except for lack of memory. Each reports
// failure by its result, and leaves the error of the decisive call in GetLastError. A null
// character ends a path, except where a directory is listed: there it is a failure. Any thread may
// call these.

namespace System {

/// Removes a file or an empty directory. With `force` a first failure is followed by a second try
/// with normal attributes, which stay if that fails too. Returns a CallResult, on failure with the
/// error in GetLastError. For a file that is the error of the attempt to delete it.
[[nodiscard]] CallResult remove(const std::string& path, bool force);

/// The results of `removeDirectory`.
using RemoveDirectoryResult = int;
enum : RemoveDirectoryResult {
    directoryRemoved = 0,     ///< the only success
    directoryMissing = 1,     ///< there is no such directory, or none that it could be in
    directoryNotEmpty = 2,    ///< something is still in it
    notADirectory = 3,        ///< something else has this name
    directoryNotRemoved = 4,  ///< any other failure
};

/// Removes an empty directory. With `force` a first result of directoryNotRemoved is followed by a
/// second try with normal attributes.
[[nodiscard]] RemoveDirectoryResult removeDirectory(const std::string& path, bool force);

/// Appends the name of every entry of a directory to `names`, "." and ".." included, in the order
/// of the file system. Appends the entries' facts to `stats`, unless that is null.
///
/// Returns false if there is no such directory, if it can't be listed or if, as the root of a
/// volume, it has no entry. A listing that breaks off later counts as complete.
[[nodiscard]] bool listDirectory(const std::string& path, std::vector<std::string>& names,
                                 std::vector<FileStat>* stats);

/// Sets `names` to the paths that have to be created so that `path` exists: its missing parents,
/// outermost first, and `path` itself last. `names` becomes empty if `path` exists. A relative
/// parent of one character isn't checked. An empty path counts as missing.
void missingParents(const std::string& path, std::vector<std::string>& names);

/// Whether `path` is an existing file or directory.
[[nodiscard]] bool exists(const std::string& path);
/// Whether a file can be opened for reading. A directory can't.
[[nodiscard]] bool canRead(const std::string& path);
/// Whether a file can be opened for writing. A directory can't.
[[nodiscard]] bool canWrite(const std::string& path);
/// Whether a directory can be listed; an empty path is the root of the current drive.
[[nodiscard]] bool canListDirectory(const std::string& path);

/// Whether a file can be opened for writing, or a file can be created in a directory; both are
/// tried. A path with a trailing slash is treated as a directory. False for an empty path.
[[nodiscard]] bool isWritable(const std::string& path);
/// Whether a file can be opened for reading, or a directory can be listed. `path` is passed to
/// Windows unchanged; one with a trailing slash is treated as a directory. False for an empty path.
[[nodiscard]] bool isReadable(const std::wstring& path);

/// Creates a directory. `mode` is there for callers that have one; it isn't read.
[[nodiscard]] bool makeDirectory(const std::string& path, int mode);
/// Renames a file or directory. A file that already has the new name is replaced. Only files can
/// move to another volume, and only with `acrossVolumes`.
[[nodiscard]] bool rename(const std::string& from, const std::string& to, bool acrossVolumes);
/// Gives the file `existing` a second name on the same volume.
[[nodiscard]] CallResult hardLink(const std::string& existing, const std::string& link);

/// Opens a C stream, which the caller closes with fclose. `mode` is the mode of fopen. Returns null
/// on failure, with errno set.
[[nodiscard]] std::FILE* openFile(const std::string& path, const std::string& mode);

/// Returns how many bytes the caller may still write to the volume of a directory, or callFailed.
/// An empty path means the current volume.
[[nodiscard]] int64_t freeDiskSpace(const std::string& path);

/// Resizes `buffer` to `size` bytes and reads the beginning of a file into it by one call. If the
/// file is shorter, the rest of the buffer isn't written, and this isn't reported.
///
/// Returns false if the file can't be opened or read, for example while another process has it open
/// for writing. The buffer has the new size then as well.
[[nodiscard]] bool readBytes(const std::string& path, std::string& buffer, size_t size);

/// Creates an empty file with a new name in `directory`, and returns its path, with backslashes. If
/// `directory` is empty, the file is in the folder for temporary files. The name begins with the
/// first three characters of `prefix`. The caller removes the file.
///
/// Returns an empty text on failure. Windows accepts no directory of more than about 240
/// characters.
[[nodiscard]] std::string temporaryFileName(const std::string& directory,
                                            const std::string& prefix);

}  // namespace System

/// Writes to a file by one call. If a part of the file is locked, up to four more tries follow: one
/// at once, and three after a pause of 50 ms each. Returns the number of bytes written, or
/// callFailed with the error in GetLastError.
[[nodiscard]] int64_t writeWithRetry(HANDLE file, const void* buffer, uint32_t count);
