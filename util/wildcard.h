#pragma once

#include <cstddef>

#include "util/textspan.h"

// Whether a text fits a pattern. Nothing is allocated, and any thread may call.

/// Whether `text` fits a pattern as shells have it; case is ignored by the process-wide locale.
///
///     *        any characters, also none
///     ?        any one character
///     [abc]    one of these; [a-z] one of a range, [!abc] or [^abc] none of them
///     \c       the character c itself
///
/// It is no shell's matcher to the letter. A star in front of other pattern never stands for the
/// whole rest of the text, and of several stars at the end only the last is forgiven: "abc**"
/// doesn't match "abc". A `]` ends a class wherever it stands, so that "[]" matches nothing and
/// "[^]" any character; a class without one fails. Characters of a range compare signed, and a
/// backslash in a class is a member. What is no rising range is three plain characters. A negated
/// class leaves a member in that stands before a `-` which makes no range: "[!c-a]" matches "c".
/// The time is at most proportional to the product of the lengths.
bool wildcardMatch(StringSpan pattern, StringSpan text);

/// The working form: from these two indices on. `literalBrackets` makes `[` a character like
/// others. A backslash at the end of the pattern matches nothing.
bool wildcardMatch(StringSpan pattern, StringSpan text, bool literalBrackets, bool caseSensitive,
                   size_t patternIndex, size_t textIndex);

/// Whether the text in `range`, which lies in `base`, fits a pattern with one `wildcard` (later
/// ones are plain characters), which stands for any text, also none. `*stem`, not null, becomes the
/// range of that part; it is `range` for a pattern without a wildcard, and unchanged on failure.
/// The rest is compared by `equalsExact` or, unless `exact`, by `equalsNoCase`. `base` may be null,
/// with an empty range: an empty text to the former, while to the latter it fits none but a null
/// pattern.
bool matchStem(StringSpan pattern, StringSpan base, TextRange range, char wildcard, TextRange* stem,
               bool exact);
