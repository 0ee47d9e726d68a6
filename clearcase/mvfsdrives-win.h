#pragma once

#include <map>
#include <string>

#include "clearcase/viewdrives.h"

/// The MVFS drive in upper case ("M:"), empty if none is connected, and each view drive in upper
/// case ("X:") with its view tag. Both are filled when the library is loaded and constant after
/// that, so any thread may read them. They belong to the library, not to a connection.
extern std::string mvfsRoot;
extern std::map<std::string, std::string> viewDrives;
/// The letters of `viewDrives`. Set after `viewDrives` is filled.
extern DriveLetters viewDriveLetters;

/// Asks Windows which network disks are connected, passes each to `takeConnection`, and returns the
/// MVFS drive, or an empty text if there is none. View tags are in the system's code page.
///
/// Throws Win32Exception ("WNetOpenEnum", "WNetEnumResource"). What was stored in `drives` before
/// that stays, and an enumeration that has failed isn't closed. A connection, of any provider,
/// whose entry takes more than 1024 bytes causes such a failure.
[[nodiscard]] std::string lookupMvfsDrives(std::map<std::string, std::string>& drives);
