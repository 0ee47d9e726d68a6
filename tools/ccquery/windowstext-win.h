#pragma once

#include <string>

namespace ccquery {

/// Between Windows' text and ours. What isn't valid in one form becomes U+FFFD in the other.
std::string toUtf8(const std::wstring& text);
std::wstring toWide(const std::string& text);

/// Windows' words for an error and its number: "Access denied (error 5)".
std::string systemErrorText(unsigned long error);

}  // namespace ccquery
