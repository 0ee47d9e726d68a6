#pragma once

#include <cstddef>
#include <string>

#include "util/textspan.h"

// Comparisons of text. Those that ignore case use the C runtime: case folds by its locale (see
// cruntime.h); if both texts have a NUL at the same place, the characters after it aren't compared;
// and the runtime decides whether bytes beyond ASCII sort before or after the letters. All others
// order by unsigned bytes.

/// Returns whether both have the same length and, except for case, the same characters. A null
/// `data` equals only another null `data` of the same length, so a null span and an empty text
/// differ.
[[nodiscard]] bool equalsNoCase(StringSpan a, StringSpan b);
/// Returns whether `a` comes before `b`, ignoring case; a proper prefix comes first. A null `data`
/// comes before every other text; of two null ones, the shorter comes first.
[[nodiscard]] bool lessNoCase(StringSpan a, StringSpan b);

/// @{
/// The same for UTF-16 units, except that a null span is an empty text.
[[nodiscard]] bool equalsNoCase(WideSpan a, WideSpan b);
[[nodiscard]] bool lessNoCase(WideSpan a, WideSpan b);
/// @}

/// Returns whether both have the same length and the same bytes, including NULs. A null span is an
/// empty text.
[[nodiscard]] bool equalsExact(StringSpan a, StringSpan b);
/// Returns whether `a` comes before `b` byte by byte; a proper prefix comes first. A null span is
/// an empty text.
[[nodiscard]] bool lessExact(StringSpan a, StringSpan b);

/// Compares the first `n` characters, ignoring case, and returns a number below, at or above 0. A
/// text that ends at its NUL before that comes first. Null equals null (0) and comes before
/// everything else (-1 and 1).
[[nodiscard]] int compareNoCase(const char* a, const char* b, size_t n);

/// A total order of strings, which are compared up to their first NUL. With `caseSensitive` the
/// order is by bytes. Without it case is ignored at first, and only decides between texts that
/// don't differ otherwise ("A", "a", "B").
struct StringLess {
    bool caseSensitive;  ///< whether case decides before all else

    /// `sensitive` is kept as `caseSensitive`.
    constexpr explicit StringLess(bool sensitive) : caseSensitive(sensitive) {}
    /// Returns whether `a` comes before `b`.
    bool operator()(const std::string& a, const std::string& b) const;
};

/// Equality of strings, which are compared up to their first NUL. Without `caseSensitive` "A"
/// equals "a", although `StringLess` distinguishes them.
struct StringEqual {
    bool caseSensitive;  ///< whether "A" and "a" differ

    /// `sensitive` is kept as `caseSensitive`.
    constexpr explicit StringEqual(bool sensitive) : caseSensitive(sensitive) {}
    /// Returns whether both are equal.
    bool operator()(const std::string& a, const std::string& b) const;
};

/// Compares ranges of `*text` by their characters. The text must outlive this object, and the
/// ranges must be within the text. The comparison covers the shorter length and stops at a NUL in
/// both: first ignoring case, unless `caseSensitive` is set, then by bytes. If nothing differs, the
/// shorter range is less.
///
///     range   caseSensitive   other
///     "B"     true            "a"      less, by the byte
///     "a"     false           "B"      less, ignoring case
///     "A"     false           "a"      less, by the byte
///     "ab"    either          "abc"    less, by the length
///
/// Without `caseSensitive` this isn't an order for ranges of different lengths: "Ab" is less than
/// "a" by the byte, "a" is less than "aa" by the length, and "aa" is less than "Ab" ignoring case.
/// Callers rely on these results, so don't pass this object to an algorithm that needs an order
/// (`sortUniqueRanges` uses a heap sort, which stays within the range).
struct RangeLess {
    const std::string* text;  ///< that the ranges are of; not null
    bool caseSensitive;       ///< whether case decides before all else

    /// The text must outlive this object.
    constexpr RangeLess(const std::string& whole, bool sensitive)
        : text(&whole), caseSensitive(sensitive) {}
    RangeLess(std::string&&, bool) = delete;
    /// Returns whether `a` is less.
    bool operator()(const TextRange& a, const TextRange& b) const;
};

/// Returns whether both ranges have the same length and the same characters, up to a NUL in both.
/// Case is ignored unless `caseSensitive` is set. The text is as for `RangeLess`.
struct RangeEqual {
    const std::string* text;  ///< that the ranges are of; not null
    bool caseSensitive;       ///< whether "A" and "a" differ

    /// The text must outlive this object.
    constexpr RangeEqual(const std::string& whole, bool sensitive)
        : text(&whole), caseSensitive(sensitive) {}
    RangeEqual(std::string&&, bool) = delete;
    /// Returns whether both are equal.
    bool operator()(const TextRange& a, const TextRange& b) const;
};
