#pragma once

#include <functional>
#include <string>

// Reads and edits the file with the list of drives (see drivesplace-win.h). Paths and texts are
// UTF-8.

namespace ccdrives {

/// Returns the bytes of the list, none if there is no such file. Throws std::runtime_error with a
/// message of one line that says what to do.
[[nodiscard]] std::string readDrivesFile(const std::string& file);

/// Replaces the list by what `edit` returns for it. A reader finds the whole list from before or
/// after, and of several processes that edit it one at a time does so. A list that `edit` leaves as
/// it is isn't written. Creates the folder of the list if only that is missing. What `edit` throws
/// passes through; otherwise throws as above.
void editDrivesFile(const std::string& file,
                    const std::function<std::string(const std::string&)>& edit);

}  // namespace ccdrives
