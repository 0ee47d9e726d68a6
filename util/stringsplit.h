#pragma once

#include <set>
#include <string>
#include <vector>

#include "util/textspan.h"

// Splitting and joining. `delimiters` and `quotes` are sets of single characters. Ranges refer to
// the text that was split, so a line can be split without a copy of each token. Results are
// appended to `out`, which is never cleared; `text` must not be a part of `out`.

/// Appends the ranges between delimiters. Without `keepEmpty` no range is empty. With it, each
/// delimiter that directly follows another one adds an empty range. Even then, a delimiter at index
/// 0 adds none, and the end of the text after a trailing delimiter adds none.
///
///     text     without keepEmpty   with keepEmpty
///     a,,b     "a" "b"             "a" "" "b"
///     ,ab      "ab"                "ab"
///     ab,      "ab"                "ab"
///     ,,       none                ""
void splitRanges(const std::string& text, std::vector<TextRange>& out,
                 const std::string& delimiters, bool keepEmpty);

/// Appends the longest runs of delimiters and of other characters, alternately, in order. They
/// cover the whole text. The first character of a run shows its kind. An empty text has no runs.
/// "ab  cd " has the runs "ab", "  ", "cd" and " ".
void splitRuns(const std::string& text, std::vector<TextRange>& out, const std::string& delimiters);

/// @{
/// Append copies of the tokens between delimiters. No token is empty. In a set, duplicates become
/// one.
void split(const std::string& text, std::vector<std::string>& out, const std::string& delimiters);
void split(const std::string& text, std::set<std::string>& out, const std::string& delimiters);
/// @}

/// The same as `split`, but supports tokens in quotes, which may contain delimiters and may be
/// empty. A token that begins with a character of `quotes` extends to the next character of
/// `quotes`, which may be a different one. `stripQuotes` leaves both quotes out of the copy. Text
/// directly after a closing quote is the next token. A quote within another token is an ordinary
/// character. Returns false if a quote isn't closed; the tokens before it are in `out` all the
/// same.
///
/// With both kinds of quotes as `quotes`, and `stripQuotes`:
///
///     "two words" x     two words | x
///     it's a"b          it's | a"b
///     "a b' c           a b | c
///     "two words"x      two words | x
///     one "two three    one, and returns false
[[nodiscard]] bool splitQuoted(const std::string& text, std::vector<std::string>& out,
                               const std::string& delimiters, const std::string& quotes,
                               bool stripQuotes);

/// Returns the parts of `text` in the order of `ranges`, with `separator` between them. The ranges
/// must be within the text. An empty range adds nothing. Exception: if the first range is empty,
/// and a range that isn't empty follows, the result begins with a separator.
///
/// For "abc" and ";":
///
///     {0, 1}, {1, 1}, {2, 3}    a;c
///     {0, 0}, {0, 1}            ;a
[[nodiscard]] std::string joinRanges(const std::string& text, const std::vector<TextRange>& ranges,
                                     const std::string& separator);

/// Sorts by `StringLess(caseSensitive)` and removes duplicates. Strings are compared up to their
/// first NUL. Strings that differ only in case are never duplicates, even without `caseSensitive`:
///
///     b a B A a b    A a B b    without caseSensitive
///     b a B A a b    A B a b    with it
void sortUnique(std::vector<std::string>& items, bool caseSensitive);

/// Sorts by `RangeLess(text, caseSensitive)` and removes each range that has the same length as the
/// one before it and, up to a NUL in both, the same characters. If `RangeLess` orders some ranges
/// in a circle (see there), their order is unspecified, and duplicates may remain.
void sortUniqueRanges(const std::string& text, std::vector<TextRange>& ranges, bool caseSensitive);
