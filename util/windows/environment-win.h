#pragma once

#include <optional>
#include <string>

/// Returns the value of an environment variable of the process in UTF-8, or nothing if it isn't
/// set. If the value can't be obtained for any other reason, the result is an empty text. `name` is
/// UTF-8 and not null.
///
/// Asks the system, not the C runtime, so changes by any module of the process are seen. Changes
/// GetLastError, even on success. Any thread may call.
[[nodiscard]] std::optional<std::string> environmentVariable(const char* name);
