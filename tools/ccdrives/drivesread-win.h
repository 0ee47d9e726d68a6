#pragma once

#include <string>

namespace ccdrives {

/// What to do if the list of drives can't be used.
inline constexpr const char* drivesAdvice = "name another list by NBCLEARCASE_DRIVES";

/// Returns the bytes of the list, none if there is no such file. Others may use the file at the
/// same time. Throws std::runtime_error with a message of one line that says what to do. The path
/// is UTF-8, of any length.
[[nodiscard]] std::string readDrivesFile(const std::string& file);

}  // namespace ccdrives
