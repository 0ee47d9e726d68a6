#pragma once

#include <string>

#include "util/textspan.h"

// Conversion between UTF-8 and UTF-16, NUL characters included. None of the conversions reports a
// failure: a text that Windows can't convert at all (2 GB of it, say) gives an empty text. Invalid
// input is no failure. The error state of Windows isn't kept. Any thread may call these.

/// UTF-16 to UTF-8. An empty text gives an empty text. A surrogate that stands alone becomes
/// U+FFFD, as WideCharToMultiByte has it.
std::string toUtf8(const std::wstring& text);

/// UTF-8 to UTF-16. An empty text (a null span as well) gives an empty text. Bytes that are no
/// UTF-8 become U+FFFD, as MultiByteToWideChar has it.
std::wstring toWide(StringSpan text);

/// `toWide`, put behind what `result` holds.
void appendWide(StringSpan text, std::wstring& result);

/// Removes the NUL characters at the end, which Windows counts in where it gives a length.
void trimNulls(std::wstring& text);
