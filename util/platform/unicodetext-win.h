#pragma once

#include <string>

#include "util/textspan.h"

// Conversion between UTF-8 and UTF-16, including NUL characters. The conversions don't report
// failures: a text that Windows can't convert at all (for example, one of 2 GB) gives an empty
// text. Invalid input isn't a failure. The error state of Windows isn't preserved. Any thread may
// call these.

/// Converts UTF-16 to UTF-8. An empty text gives an empty text. A lone surrogate becomes U+FFFD, as
/// WideCharToMultiByte does it.
[[nodiscard]] std::string toUtf8(const std::wstring& text);

/// Converts UTF-8 to UTF-16. An empty text or a null span gives an empty text. Invalid bytes become
/// U+FFFD, as MultiByteToWideChar does it.
[[nodiscard]] std::wstring toWide(StringSpan text);

/// Appends `toWide(text)` to `result`.
void appendWide(StringSpan text, std::wstring& result);

/// Removes the NUL characters at the end, which Windows includes in the lengths that it returns.
void trimNulls(std::wstring& text);
