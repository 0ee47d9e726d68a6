#pragma once

#include <map>
#include <string>

/// The MVFS drive in upper case ("M:"), empty if none is connected, and each view drive in upper
/// case
/// ("X:") with its view tag. Filled when the library is loaded and constant from then on, so that
/// any thread may read them. They are the library's and not a connection's.
extern std::string mvfsRoot;
extern std::map<std::string, std::string> viewDrives;

/// Asks Windows which network drives the provider "ClearCase Dynamic Views" has connected. Stores
/// each view drive in `drives` and returns the MVFS drive. A connection without a local name goes
/// under the empty name, and one whose remote name is too short to hold a view tag has an empty
/// one. Throws Win32Exception ("WNetOpenEnum", "WNetEnumResource"); what was stored in `drives` by
/// then stays.
std::string lookupMvfsDrives(std::map<std::string, std::string>& drives);
