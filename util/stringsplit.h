#pragma once

#include <set>
#include <string>
#include <vector>

#include "util/textspan.h"

// Splitting and joining. `delimiters` and `quotes` are sets of single characters. Ranges are of the
// text that was split; they let a line be cut without a copy for each token. Results are appended
// to `out`, which is never cleared first; `text` must not be a part of `out`.

/// The ranges between delimiters. Without `keepEmpty` none of them is empty. With it, each
/// delimiter that directly follows another adds an empty range. A delimiter at index 0 adds none
/// even then, and nor does the text's end behind a last delimiter: "a,,b" has three ranges, ",a"
/// and "a," have one.
void splitRanges(const std::string& text, std::vector<TextRange>& out,
                 const std::string& delimiters, bool keepEmpty);

/// The longest runs of delimiters and of other characters, by turns, in order, covering the whole
/// text. Which kind a run is shows by its first character. An empty text has none.
void splitRuns(const std::string& text, std::vector<TextRange>& out, const std::string& delimiters);

/// Copies of the tokens between delimiters; none is empty. In a set duplicates become one.
void split(const std::string& text, std::vector<std::string>& out, const std::string& delimiters);
void split(const std::string& text, std::set<std::string>& out, const std::string& delimiters);

/// As `split`, with tokens in quotes, which may hold delimiters and may be empty. A token that
/// begins with a character of `quotes` runs to the next character of `quotes`, which needn't be the
/// same; `stripQuotes` leaves both out of the copy. What sticks to a closing quote is the next
/// token. A quote inside another token is an ordinary character. False if a quote isn't closed; the
/// tokens before it are in `out` all the same.
bool splitQuoted(const std::string& text, std::vector<std::string>& out,
                 const std::string& delimiters, const std::string& quotes, bool stripQuotes);

/// The parts of `text`, in the order of `ranges`, which must lie inside it, with `separator`
/// between them. An empty range adds nothing, but as the first of the list it makes the result
/// begin with a separator, if anything follows.
std::string joinRanges(const std::string& text, const std::vector<TextRange>& ranges,
                       const std::string& separator);

/// Sorts by `StringLess(caseSensitive)` and keeps one of each. Strings are compared up to their
/// first NUL; those that differ in case alone are never the same, whatever `caseSensitive` says.
void sortUnique(std::vector<std::string>& items, bool caseSensitive);

/// Sorts by `RangeLess(text, caseSensitive)` and drops each range that has the length and, up to a
/// NUL in both, the characters of the one before it. Where `RangeLess` orders ranges in a ring (see
/// there), the order is some order, and repeats may stay.
void sortUniqueRanges(const std::string& text, std::vector<TextRange>& ranges, bool caseSensitive);
