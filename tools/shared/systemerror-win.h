#pragma once

#include <string>

namespace tools {

/// Returns Windows's message for an error and the error's number: "Access denied (error 5)".
/// Placeholders in a message stay; the message for a library for another processor has one.
[[nodiscard]] std::string systemErrorText(unsigned long error);

}  // namespace tools
