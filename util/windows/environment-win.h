#pragma once

#include <optional>
#include <string>

/// The value of an environment variable of the process in UTF-8, and nothing if it isn't set. Asks
/// the system and not the C runtime, so that changes by any module of the process are seen. Any
/// thread may ask. GetLastError is changed, also by a success. `name` is UTF-8 and not null. A
/// value that can't be had for any other reason than that it isn't set is empty.
std::optional<std::string> environmentVariable(const char* name);
