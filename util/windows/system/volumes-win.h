#pragma once

#include <iosfwd>
#include <string>

/// The kind of storage that a path is on. No type has the value 3.
enum class VolumeType {
    fixed = 0,      ///< DRIVE_FIXED, such as a hard disk
    removable = 1,  ///< DRIVE_REMOVABLE
    remote = 2,     ///< DRIVE_REMOTE, a network drive
    mvfs = 4,       ///< the file system is named "MVFS", on any kind of drive
    cdrom = 5,      ///< DRIVE_CDROM
    other = 6,      ///< a RAM disk, a type that Windows doesn't know, or a failure
};

namespace System {

/// Returns the type of the volume that `path` is on. A relative path is taken relative to the
/// current directory, and an empty path means the current directory.
///
/// Unless `account` is null, it receives a report of what was found: the device of the drive
/// letter, the type of the drive, the volume's name, serial number, limits and flags, and the
/// messages of failures. The report is UTF-8, except for the line about the drive's type: there `?`
/// replaces characters that the process's locale lacks.
///
/// A failure of Windows never throws: the result is then `other`, or what the drive alone shows.
/// Any thread may call this.
[[nodiscard]] VolumeType volumeType(const std::string& path, std::ostream* account);

}  // namespace System
