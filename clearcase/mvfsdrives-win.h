#pragma once

#include <map>
#include <string>

#include "clearcase/viewdrives.h"

/// The MVFS drive in upper case ("M:"), empty if none is connected, and each view drive in upper
/// case ("X:") with its view tag. Filled when the library is loaded and constant from then on, so
/// that any thread may read them. They are the library's and not a connection's.
extern std::string mvfsRoot;
extern std::map<std::string, std::string> viewDrives;
/// The letters of `viewDrives`, once it is filled.
extern DriveLetters viewDriveLetters;

/// Asks Windows which network disks are connected, takes each into account (`takeConnection`), and
/// returns the MVFS drive. View tags come in the system's code page. Throws Win32Exception
/// ("WNetOpenEnum", "WNetEnumResource"); what was stored in `drives` by then stays, and an
/// enumeration that has failed is not closed. A connection, of any provider, whose entry takes over
/// 1024 bytes is such a failure.
std::string lookupMvfsDrives(std::map<std::string, std::string>& drives);
