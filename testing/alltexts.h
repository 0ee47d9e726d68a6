#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace testing_support {

/// Calls `use` with each text of `length` characters from `letters`, until an assertion fails
/// fatally. `letters` must not be empty.
template <class Character, class Use>
void forAllTexts(const std::basic_string<Character>& letters, size_t length, Use use) {
    std::vector<size_t> indices(length);
    std::basic_string<Character> text(length, letters.front());
    for (size_t at = 0;;) {
        use(text);
        if (testing::Test::HasFatalFailure()) {
            return;
        }
        // Counts up; the first character changes fastest.
        for (at = 0; at < length; ++at) {
            indices[at] = (indices[at] + 1) % letters.size();
            text[at] = letters[indices[at]];
            if (indices[at] != 0) {
                break;
            }
        }
        if (at == length) {
            return;
        }
    }
}

}  // namespace testing_support
