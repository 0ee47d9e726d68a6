#pragma once

#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"

/// Appends to `results`, for each VOB in order, its folder below `root` (`probedFolder`) and
/// whether a temporary file could be created there: writable if so, read-only on a write-protected
/// medium, and not determined after any other failure, such as a missing folder or a denial of
/// access. The state in `vobs` is not read.
///
/// The temporary file is removed again, and a failure to remove it is ignored. It stays in a folder
/// whose name is not ASCII, since Windows returns the file's name in its code page.
void probeVobs(const std::vector<VobRecord>& vobs, const std::string& root,
               std::vector<VobRecord>& results);
