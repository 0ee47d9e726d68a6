#pragma once

#include <string>

namespace ccdrives {

/// Returns the full path of the list of drives, in UTF-8: NBCLEARCASE_DRIVES, or
/// `nbclearcase\drives.txt` in the folder APPDATA, or an empty text if neither variable is set. An
/// empty variable counts as not set.
[[nodiscard]] std::string drivesFile();

}  // namespace ccdrives
