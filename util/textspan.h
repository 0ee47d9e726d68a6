#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

/// A reference to characters that it doesn't own, the argument type of functions that compare or
/// parse text. It needn't be terminated or be UTF-8. Only functions whose comment says so
/// distinguish a null `data` from an empty text.
struct StringSpan {
    const char* data = nullptr;  ///< null for a null span
    size_t length = 0;           ///< in bytes

    constexpr StringSpan() = default;
    /// The characters must outlive this object.
    constexpr StringSpan(const char* characters, size_t count) : data(characters), length(count) {}
    /// Up to the terminator. Null makes a null span.
    constexpr StringSpan(const char* text)
        : data(text), length(text == nullptr ? 0 : std::char_traits<char>::length(text)) {}
    /// @{
    /// The text must outlive this object, and not change.
    StringSpan(const std::string& text) : data(text.data()), length(text.size()) {}
    constexpr StringSpan(std::string_view text) : data(text.data()), length(text.size()) {}
    /// @}

    /// Returns the same characters; empty for a null span.
    [[nodiscard]] constexpr std::string_view view() const { return {data, length}; }
};

/// The same for UTF-16 units; `length` counts units.
struct WideSpan {
    const wchar_t* data = nullptr;  ///< null for a null span
    size_t length = 0;              ///< in units

    constexpr WideSpan() = default;
    /// The units must outlive this object.
    constexpr WideSpan(const wchar_t* units, size_t count) : data(units), length(count) {}
    /// Up to the terminator. Null makes a null span.
    constexpr WideSpan(const wchar_t* text)
        : data(text), length(text == nullptr ? 0 : std::char_traits<wchar_t>::length(text)) {}
    /// The text must outlive this object, and not change.
    WideSpan(const std::wstring& text) : data(text.data()), length(text.size()) {}
};

/// Start and end (exclusive) of a part of a string that the range doesn't own. Only meaningful
/// while that string is unchanged.
using TextRange = std::pair<size_t, size_t>;

/// A part of a path, from `begin` to one past its last character. Empty if both are equal.
struct PathRange {
    size_t begin = 0;  ///< the first character
    size_t end = 0;    ///< one past the last character

    /// Returns the number of characters.
    [[nodiscard]] constexpr size_t length() const { return end - begin; }
    /// Ranges are equal if they begin and end at the same places.
    friend constexpr bool operator==(const PathRange&, const PathRange&) = default;
};
