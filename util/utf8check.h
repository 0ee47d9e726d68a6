#pragma once

#include <string_view>

/// Returns whether the text is valid UTF-8: no overlong sequence, no surrogate, nothing above
/// U+10FFFF.
[[nodiscard]] bool isUtf8(std::string_view text);
