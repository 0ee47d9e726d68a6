#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ccquery {

/// Returns how many letters must be inserted, removed, replaced or swapped with the next one to
/// turn `a` into `b`, but at most `limit` + 1. A letter is a character of UTF-8, or a byte that
/// belongs to none. The time grows with the length of the texts, and threefold with each step of
/// `limit`.
[[nodiscard]] size_t letterDistance(std::string_view a, std::string_view b, size_t limit);

/// Which letters a text has, and how often each, roughly: to rule out most texts of a long list
/// without `letterDistance`, which takes a hundred times as long.
class LetterSet {
public:
    explicit LetterSet(std::string_view text);

    /// Returns whether the distance of the two texts may be `limit` or less. If it is, the answer
    /// is yes; otherwise it is usually no.
    [[nodiscard]] bool mayBeWithin(LetterSet other, size_t limit) const;

private:
    uint64_t mMarks = 0;  ///< a bit for the first, the second and so on of each letter
};

}  // namespace ccquery
