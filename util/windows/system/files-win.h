#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <windows.h>

#include "util/windows/system/filestat-win.h"

// Operations on files by UTF-8 paths with either kind of slash, absolute ones of any length (see
// System::unicodePath). None throws, but for lack of memory; each reports by its result and leaves
// the failure of the call that decided it in GetLastError. A null character ends a path, but where
// a directory is listed: there it is a failure. Any thread may call them.

namespace System {

/// Removes a file or an empty directory. With `force` a first failure is followed by a second try
/// with normal attributes, which stay if that fails too. 0 on success, otherwise -1 and the failure
/// in GetLastError: of a file, that of the attempt to delete it.
int remove(const std::string& path, bool force);

/// Removes an empty directory. With `force` a failure that has no number below is followed by a
/// second try with normal attributes. 0 removed, 1 not there, 2 not empty, 3 no directory, 4 any
/// other failure.
int removeDirectory(const std::string& path, bool force);

/// Appends the name of every entry of a directory to `names`, "." and ".." included, in the order
/// of the file system, and its facts to `stats`, unless that is null. False if there is no such
/// directory, it can't be listed or, as the root of a volume, has no entry; a listing that breaks
/// off later counts as complete.
bool listDirectory(const std::string& path, std::vector<std::string>& names,
                   std::vector<FileStat>* stats);

/// Makes `names` the paths that are missing for `path` to exist, outermost first and `path` last;
/// nothing if it exists. A relative parent of one character isn't looked at, and an empty path is a
/// missing one.
void missingParents(const std::string& path, std::vector<std::string>& names);

/// Whether there is a file or directory.
bool exists(const std::string& path);
/// Whether a file can be opened for reading. A directory can't.
bool canRead(const std::string& path);
/// Whether a file can be opened for writing. A directory can't.
bool canWrite(const std::string& path);
/// Whether a directory can be listed; an empty path is the root of the current drive.
bool canListDirectory(const std::string& path);

/// Whether a file can be opened for writing, or a file be made in a directory: that is tried. A
/// path with a trailing slash is taken for a directory. False for an empty path.
bool isWritable(const std::string& path);
/// Whether a file can be opened for reading, or a directory be listed. `path` goes to Windows as it
/// is; one with a trailing slash is taken for a directory. False for an empty path.
bool isReadable(const std::wstring& path);

/// `mode` is for callers that have one: it isn't read.
bool makeDirectory(const std::string& path, int mode);
/// Gives a file or directory another name, in place of a file that has it. To another volume only
/// with `acrossVolumes`, and files alone.
bool rename(const std::string& from, const std::string& to, bool acrossVolumes);
/// Gives the file `existing` a second name, on the same volume. 0, or -1 on failure.
int hardLink(const std::string& existing, const std::string& link);

/// Opens a C stream, which the caller closes with fclose. `mode` is that of fopen. Null on failure,
/// with errno set.
std::FILE* openFile(const std::string& path, const std::string& mode);

/// How many bytes the caller may still write to the volume of a directory; of the current one for
/// an empty path. -1 on failure.
int64_t freeDiskSpace(const std::string& path);

/// Makes `buffer` `size` bytes long and reads the start of a file into it, by one call. A shorter
/// file leaves the rest as it is and isn't told of. False if the file can't be opened or read,
/// also while another has it open for writing; the buffer has the new length then as well.
bool readBytes(const std::string& path, std::string& buffer, size_t size);

/// Makes an empty file of a new name in `directory`, or in the folder for temporary files if that
/// is empty, and returns its path, with backslashes. The caller removes it. The name begins with
/// the first three characters of `prefix`. Empty on failure; Windows takes no directory of over
/// about 240 characters.
std::string temporaryFileName(const std::string& directory, const std::string& prefix);

}  // namespace System

/// Writes to a file by one call. As long as a part of the file is locked, up to four more tries
/// follow: one at once and three after 50 ms each. The number of bytes written, or -1 and the
/// failure in GetLastError.
int64_t writeWithRetry(HANDLE file, const void* buffer, uint32_t count);
