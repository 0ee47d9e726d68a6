#pragma once

#include <string>

#include "util/textspan.h"

/// UTF-16 to UTF-8. An empty text gives an empty text. A surrogate that stands alone becomes
/// U+FFFD, as WideCharToMultiByte has it.
std::string toUtf8(const std::wstring& text);

/// UTF-8 to UTF-16. Bytes that are no UTF-8 become U+FFFD, as MultiByteToWideChar has it. A text
/// that can't be converted at all gives an empty text, no exception.
std::wstring toWide(StringSpan text);
