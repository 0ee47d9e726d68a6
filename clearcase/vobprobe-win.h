#pragma once

#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"

/// Appends to `results`, for each VOB in order, its folder below `root` (`probedFolder`) and
/// whether a temporary file could be made there: writable if so, read-only on a write-protected
/// medium, and not determined for every other failure, a missing folder and a denial of access
/// among them. The state that `vobs` has is not read. The file is removed again, with no regard to
/// whether that succeeds: it stays in a folder whose name is not ASCII, as Windows gives the name
/// in its code page.
void probeVobs(const std::vector<VobRecord>& vobs, const std::string& root,
               std::vector<VobRecord>& results);
