#pragma once

#include <functional>
#include <string>

// Edits the file with the list of drives (see drivesplace-win.h). Paths and texts are UTF-8.

namespace ccdrives {

/// Returns the path of the file by which one process at a time edits a list. It is beside the list,
/// and there as long as the edit takes.
[[nodiscard]] std::string turnFile(const std::string& file);

/// Replaces the list by what `edit` returns for it. A reader finds the whole list from before or
/// after, and of several processes that edit it one at a time does so. `edit` may be called twice.
/// For a list that it leaves as it is nothing is written or created; otherwise creates the folder
/// of the list if only that is missing.
///
/// What `edit` throws passes through. Otherwise throws std::runtime_error with a message of one
/// line that says what to do, also for a list that is read-only.
void editDrivesFile(const std::string& file,
                    const std::function<std::string(const std::string&)>& edit);

}  // namespace ccdrives
