#pragma once

#include <cstddef>

#include "util/textspan.h"

// Matching of texts with patterns. Nothing is allocated, and any thread may call the functions.

/// Returns whether `text` matches a pattern like those of shells. Case is ignored, by the
/// process-wide locale.
///
///     *        any characters, or none
///     ?        any one character
///     [abc]    one of these; [a-z] one of a range; [!abc] or [^abc] a character other than these
///     \c       the character c itself
///
/// It differs from a shell's matcher:
///
/// - A star that is followed by more pattern never matches the whole rest of the text. At the end
///   of the text a single star at the end of the pattern is accepted, but no second one.
/// - A `]` always ends a class, wherever it is. A class without a `]` matches nothing.
/// - A backslash in a class is a member.
/// - The characters of a range are compared as signed values. If they don't rise, the range is
///   three plain members.
/// - In a negated class, a member before a `-` that doesn't make a range is ignored.
/// - In a negated class, the end of a range may begin another one.
///
///     abc*      abc     true
///     abc**     abc     false    two stars at the end of the text
///     abc**     abcd    true
///     []        a       false    an empty class matches nothing
///     [^]       a       true     an empty negated class matches any character
///     [abc      a       false    no `]`
///     [c-a]     -       true     a member
///     [c-a]     b       false    not a range
///     [!c-a]    c       true     ignored, as it is before the `-`
///     [!c-a]    a       false    a member
///     [!a-c-e]  d       false    `c-e` is a range as well
///
/// The time is at most proportional to the product of the lengths.
[[nodiscard]] bool wildcardMatch(StringSpan pattern, StringSpan text);

/// The general form, which starts at the two indices. With `literalBrackets`, `[` is an ordinary
/// character. A backslash at the end of the pattern matches nothing.
[[nodiscard]] bool wildcardMatch(StringSpan pattern, StringSpan text, bool literalBrackets,
                                 bool caseSensitive, size_t patternIndex, size_t textIndex);

/// Returns whether the text in `range` of `base` matches a pattern, in which the first `wildcard`
/// matches any text, also an empty one; later ones are ordinary characters. On success `*stem`,
/// which must not be null, becomes the range in `base` that the wildcard matched, or `range` if the
/// pattern has no wildcard. On failure it is unchanged. For the wildcard `%` and with `exact`:
///
///     pattern   text      result   stem
///     %.o       foo.o     true     foo
///     %.o       .o        true     empty
///     lib%.a    libx.a    true     x
///     a%a       a         false
///     %%        x%        true     x
///     foo       foo       true     foo
///     %.O       foo.o     false             true without `exact`
///
/// The rest of the text is compared by `equalsExact` or, unless `exact`, by `equalsNoCase`. `base`
/// may be null with an empty range. With `exact` this is an empty text; otherwise it matches only a
/// null pattern.
[[nodiscard]] bool matchStem(StringSpan pattern, StringSpan base, TextRange range, char wildcard,
                             TextRange* stem, bool exact);
