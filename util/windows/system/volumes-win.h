#pragma once

#include <iosfwd>
#include <string>

/// The kind of storage that a path lies on. There is no 3.
enum class VolumeType {
    fixed = 0,
    removable = 1,
    remote = 2,
    mvfs = 4,  ///< the file system is named "MVFS", whatever the drive is
    cdrom = 5,
    other = 6,  ///< a RAM disk, what Windows doesn't know, and what can't be found out
};

namespace System {

/// What `path` lies on; a relative one is taken against the current directory, which an empty one
/// stands for. Writes an account of what was found on the way to `account`, unless that is null:
/// the device behind the drive letter, the type of the drive, the volume's name, serial number,
/// limits and flags, and the words for what failed. It is UTF-8, but for the line about the drive's
/// type, in which `?` stands for what the process's locale lacks. Never throws for a failure of
/// Windows: the result is then `other`, or what the drive alone says. Any thread may call it.
VolumeType volumeType(const std::string& path, std::ostream* account);

}  // namespace System
