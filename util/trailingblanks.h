#pragma once

#include <string>

// Removal of trailing blanks and dots from the names of a wide path, where Windows ignores them. A
// path with the prefix `\\?\` is used verbatim, so code that makes such a path removes them itself.

/// Removes the trailing blanks and dots from each name of `path`. Only the backslash is a
/// separator:
///
///     L"a b . \\c.."    L"a b\\c"
///     L"..\\...\\."     L"..\\...\\."   a name of dots is unchanged
///     L"a\\. . \\b"     L"a\\. \\b"     a name of both keeps its first blank and what is before it
///     L"a.\nb"          L"a\nb"         a line end within a name counts as its end
///
/// In other words, a trailing blank or dot is removed if a character other than a dot precedes it
/// in the same name. A line end counts as such a character, too. Line ends are LF, CR, FF, U+0085,
/// U+2028 and U+2029. Any text is allowed, including NULs and surrogates, and the time is linear in
/// its length. Allocates nothing and never fails.
void removeTrailingBlanks(std::wstring& path);
