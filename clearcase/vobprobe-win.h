#pragma once

#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"

/// The folder to probe for a VOB: its tag directly behind `root`, with forward slashes, the first
/// of the doubled ones halved, and the first character in upper case.
std::string probedFolder(const std::string& root, const std::string& tag);

/// Appends to `results`, for each VOB in order, its probed folder and whether a temporary file
/// could be made there: writable if so, read-only on a write-protected medium, and not determined
/// for every other failure, a missing folder and a denial of access among them. The state that
/// `vobs` has is not read. The file is removed again, with no regard to whether that succeeds.
void probeVobs(const std::vector<VobRecord>& vobs, const std::string& root,
               std::vector<VobRecord>& results);
