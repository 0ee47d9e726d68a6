#pragma once

#include <string>
#include <vector>

namespace testing_support {

/// An environment block of these strings, but for its last NUL, which is the result's own.
inline std::string environmentBlock(const std::vector<std::string>& strings) {
    std::string block;
    for (const std::string& text : strings) {
        block.append(text).push_back('\0');
    }
    return block;
}

}  // namespace testing_support
