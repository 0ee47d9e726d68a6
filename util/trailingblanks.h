#pragma once

#include <string>

// The end of a name in a wide path, as Windows has it: blanks and dots there don't count. A path
// with the prefix `\\?\` is taken as it stands, so whoever makes one removes them.

/// Removes from each name of `path`, whose separator is the backslash alone, the blanks and dots at
/// its end:
///
///     L"a b . \\c.."    L"a b\\c"
///     L"..\\...\\."     L"..\\...\\."   a name of dots stays
///     L"a\\. . \\b"     L"a\\. \\b"     a name of both keeps its first blank and what is before it
///     L"a.\nb"          L"a\nb"         a line end inside a name counts as its end
///
/// So a run of blanks and dots goes as far as it follows a character of the same name which is no
/// dot; a line end counts as such a character too. Line ends are LF, CR, FF, U+0085, U+2028 and
/// U+2029. Any text is good, NUL and surrogates included, and the time is linear in its length.
/// Allocates nothing and never fails.
void removeTrailingBlanks(std::wstring& path);
