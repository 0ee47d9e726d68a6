#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// A set of single bytes, NUL not excepted, for scans that ask of every character of a text
/// whether it belongs. A question costs one bit test, where `find_first_of` of the standard
/// library searches the list of characters anew for each.
class CharacterSet {
public:
    constexpr CharacterSet() = default;
    constexpr explicit CharacterSet(std::string_view characters) {
        for (const char c : characters) {
            add(c);
        }
    }

    constexpr void add(char c) { mBits[wordOf(c)] |= bitOf(c); }
    constexpr bool contains(char c) const { return (mBits[wordOf(c)] & bitOf(c)) != 0; }

    /// The index of the first character at or behind `start` that belongs, or the text's size.
    /// A `start` behind the text is the result itself, also below.
    constexpr size_t findIn(std::string_view text, size_t start) const {
        while (start < text.size() && !contains(text[start])) {
            ++start;
        }
        return start;
    }
    /// The index of the first character at or behind `start` that doesn't belong, or the size.
    constexpr size_t findNotIn(std::string_view text, size_t start) const {
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
