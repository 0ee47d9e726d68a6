#pragma once

#include <cstddef>
#include <string>

#include "util/textspan.h"

// Comparisons of text. "NoCase" is left to the C runtime: case folds by that runtime's locale (see
// cruntime.h), where both texts have a NUL at the same place, what stands behind it isn't looked
// at, and bytes beyond ASCII come before or behind the letters as that runtime has it. All else is
// ordered by unsigned bytes.

/// Same length and, but for case, same characters. A null `data` equals another null `data` of the
/// same length and nothing else, so a null span and an empty text differ.
bool equalsNoCase(StringSpan a, StringSpan b);
/// Whether `a` comes before `b` but for case; a proper prefix comes first. A null `data` comes
/// before every other text; of two, the shorter comes first.
bool lessNoCase(StringSpan a, StringSpan b);

/// The same over UTF-16 units. A null is no value of its own here: a null span is an empty text.
bool equalsNoCase(WideSpan a, WideSpan b);
bool lessNoCase(WideSpan a, WideSpan b);

/// Same length and same bytes, NUL included. A null span is an empty text.
bool equalsExact(StringSpan a, StringSpan b);
/// Whether `a` comes before `b` byte by byte; a proper prefix comes first. A null span is an empty
/// text.
bool lessExact(StringSpan a, StringSpan b);

/// Below, at or above 0 for the first `n` characters but for case; a text that ends at its NUL
/// before that comes first. Null equals null (0) and comes before all else (-1 and 1).
int compareNoCase(const char* a, const char* b, size_t n);

/// A total order of strings up to their first NUL: with `caseSensitive` by bytes; without, case is
/// ignored first and then decides between texts that differ in nothing else ("A", "a", "B").
struct StringLess {
    bool caseSensitive;

    constexpr explicit StringLess(bool sensitive) : caseSensitive(sensitive) {}
    bool operator()(const std::string& a, const std::string& b) const;
};

/// Equality of strings up to their first NUL. Without `caseSensitive` "A" equals "a", although
/// `StringLess` tells the two apart.
struct StringEqual {
    bool caseSensitive;

    constexpr explicit StringEqual(bool sensitive) : caseSensitive(sensitive) {}
    bool operator()(const std::string& a, const std::string& b) const;
};

/// Compares ranges of `*text`, which must outlive the object, by what stands there; the ranges
/// must lie inside the text. Over the shorter length, up to a NUL in both: without
/// `caseSensitive` ignoring case, then by bytes; where nothing differs the shorter range is less.
///
/// Without `caseSensitive` this is no order of ranges of unlike length: "Ab" is less than "a" by
/// the byte, "a" less than "aa" by the length, "aa" less than "Ab" ignoring case. Callers rely on
/// the outcome, so don't hand it to an algorithm that needs an order (`sortUniqueRanges` uses a
/// heap sort, which stays inside the range).
struct RangeLess {
    const std::string* text;
    bool caseSensitive;

    constexpr RangeLess(const std::string& whole, bool sensitive)
        : text(&whole), caseSensitive(sensitive) {}
    RangeLess(std::string&&, bool) = delete;
    bool operator()(const TextRange& a, const TextRange& b) const;
};

/// Same length and same characters, up to a NUL in both. The text is as for `RangeLess`.
struct RangeEqual {
    const std::string* text;
    bool caseSensitive;

    constexpr RangeEqual(const std::string& whole, bool sensitive)
        : text(&whole), caseSensitive(sensitive) {}
    RangeEqual(std::string&&, bool) = delete;
    bool operator()(const TextRange& a, const TextRange& b) const;
};
