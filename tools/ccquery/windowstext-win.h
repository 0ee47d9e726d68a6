#pragma once

#include <string>

namespace ccquery {

/// Converts between UTF-16, the text of Windows, and UTF-8. What isn't valid becomes U+FFFD.
[[nodiscard]] std::string toUtf8(const std::wstring& text);
[[nodiscard]] std::wstring toWide(const std::string& text);

/// Returns Windows' message for an error and the error's number: "Access denied (error 5)".
[[nodiscard]] std::string systemErrorText(unsigned long error);

}  // namespace ccquery
