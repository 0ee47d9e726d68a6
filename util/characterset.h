#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// A set of single bytes, NUL allowed, for scans that test every character of a text. A test costs
/// one bit operation, whereas `find_first_of` of the standard library searches the list of
/// characters again for every character of the text.
class CharacterSet {
public:
    constexpr CharacterSet() = default;
    /// Makes a set of the characters of a text, in any order; repeated ones count once.
    constexpr explicit CharacterSet(std::string_view characters) {
        for (const char c : characters) {
            add(c);
        }
    }

    /// Does nothing if the set has the character.
    constexpr void add(char c) { mBits[wordOf(c)] |= bitOf(c); }
    /// Returns whether the set has the character.
    [[nodiscard]] constexpr bool contains(char c) const {
        return (mBits[wordOf(c)] & bitOf(c)) != 0;
    }

    /// Returns the index of the first character at or after `start` that is in the set, or the
    /// text's size if there is none. If `start` is past the end of the text, the result is `start`.
    /// The same holds for findNotIn.
    [[nodiscard]] constexpr size_t findIn(std::string_view text, size_t start) const {
        while (start < text.size() && !contains(text[start])) {
            ++start;
        }
        return start;
    }
    /// Returns the index of the first character at or after `start` that isn't in the set, or the
    /// text's size if there is none.
    [[nodiscard]] constexpr size_t findNotIn(std::string_view text, size_t start) const {
        while (start < text.size() && contains(text[start])) {
            ++start;
        }
        return start;
    }

private:
    static constexpr size_t wordOf(char c) { return static_cast<unsigned char>(c) / 64U; }
    static constexpr uint64_t bitOf(char c) {
        return uint64_t{1} << (static_cast<unsigned char>(c) % 64U);
    }

    std::array<uint64_t, 4> mBits{};
};
