#pragma once

#include "tools/ccquery/journals/journalline.h"
#include "tools/shared/report.h"

namespace ccquery {

using tools::Json;

/// Returns a text as a journal has it: an object with its bytes in hexadecimal if it isn't UTF-8.
[[nodiscard]] Json journalJson(const std::string& text);

/// Return the arguments of a line, and its result or exception, as a journal has them, without the
/// fields that no command reads.
[[nodiscard]] Json argumentsJson(const JournalLine& line);
[[nodiscard]] Json resultJson(const JournalLine& line);

}  // namespace ccquery
