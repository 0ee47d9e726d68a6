#pragma once

#include <string>

namespace ccquery {

/// Returns Windows' message for an error and the error's number: "Access denied (error 5)".
/// A message with placeholders is shown with them, as that of a library for another processor.
[[nodiscard]] std::string systemErrorText(unsigned long error);

}  // namespace ccquery
