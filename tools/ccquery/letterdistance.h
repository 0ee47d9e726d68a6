#pragma once

#include <cstddef>
#include <string_view>

namespace ccquery {

/// Returns how many letters must be inserted, removed, replaced or swapped with the next one to
/// turn `a` into `b`, but at most `limit` + 1. A letter is a character of UTF-8, or a byte that
/// belongs to none. The time grows with the length of the texts, and threefold with each step of
/// `limit`.
[[nodiscard]] size_t letterDistance(std::string_view a, std::string_view b, size_t limit);

}  // namespace ccquery
