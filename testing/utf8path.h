#pragma once

#include <filesystem>
#include <string>

namespace testing_support {

/// Returns the path as UTF-8, with its separators unchanged.
inline std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

}  // namespace testing_support
