#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tools {

/// Whether a byte isn't the first one of a character of UTF-8.
[[nodiscard]] constexpr bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}

/// Returns the number of characters of a text in UTF-8. Bytes that aren't UTF-8 may count or not.
[[nodiscard]] constexpr size_t characterCount(std::string_view text) {
    return text.size() -
           static_cast<size_t>(std::count_if(text.begin(), text.end(), continuesCharacter));
}

}  // namespace tools
