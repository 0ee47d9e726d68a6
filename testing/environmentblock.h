#pragma once

#include <string>
#include <vector>

namespace testing_support {

/// Returns an environment block of these strings. The result's own terminator is the block's last
/// NUL.
inline std::string environmentBlock(const std::vector<std::string>& strings) {
    std::string block;
    for (const std::string& text : strings) {
        block.append(text).push_back('\0');
    }
    return block;
}

}  // namespace testing_support
