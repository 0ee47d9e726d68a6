#pragma once

#include <locale>
#include <ostream>
#include <string>

#include "util/textspan.h"

/// Returns true and stores the value in `*value` (not null) if `text` is a boolean word. Otherwise
/// returns false and leaves `*value` unchanged. The words, in any mix of case, are "1", "t", "y",
/// "true", "yes", "on" and "0", "f", "n", "false", "no", "off". Nothing is trimmed.
[[nodiscard]] bool parseBool(StringSpan text, bool* value);

/// Parses a decimal number by the rules of `strtol`: leading white space and a sign are accepted,
/// and a number too large for an int becomes INT_MAX or INT_MIN without an error.
///
/// Returns true if the number is the whole text. An empty text (also a null span) is the number 0;
/// blanks after the digits, and blanks or a sign without digits, fail. `*value` becomes the number
/// before the first wrong character (0 if there is none), even if the result is false; `value` may
/// be null. No character outside the span is read, and no terminator is needed.
///
///     " -12"          true     -12
///     "12a"           false    12
///     "-"             false    0
///     ""              true     0
///     "2147483648"    true     INT_MAX
///     "12345", 2      true     12, for a span of the first two characters
[[nodiscard]] bool parseInt(StringSpan text, int* value);

/// Reads the number at the start of a terminated text, however long it is. Returns true if the
/// number ends exactly `length` characters after the start of the text. A text without a number is
/// 0 and ends at its start. A `length` below 1 means the length of the whole text. `text` must not
/// be null; `value` may be.
///
///     "12a", 2      true     12
///     "12345", 2    false    12345
///     "12345", 0    true     12345
[[nodiscard]] bool parseInt(const char* text, int length, int* value);

/// Returns `value` as "%g" writes it: up to `precision` significant digits (0 counts as 1, a
/// negative precision as 6) without trailing zeros, and with an exponent if that is below -4 or not
/// below the precision. Infinity is "inf", and a NaN is "nan". The decimal point is a full stop in
/// every locale.
///
///     3.14159265, 3    3.14
///     100, 6           100
///     1234567, 3       1.23e+06
///     28, 0            3e+01
[[nodiscard]] std::string doubleToString(double value, int precision);

/// The codes of the known platforms.
enum Platform : int {
    platformUnknown = -1,    ///< a name that isn't one of those below
    platformNone = 0,        ///< no name
    platformWindows = 1,     ///< "windows"
    platformSolaris = 2,     ///< "solaris"
    platformLinux = 3,       ///< "linux"
    platformSolarisX86 = 4,  ///< "solarisx86"
};

/// Returns the `Platform` of "windows", "solaris", "linux" or "solarisx86", in any mix of case. For
/// null it returns `platformNone`, for any other text `platformUnknown`.
[[nodiscard]] int parsePlatform(const char* name);

/// Returns the name of the platform that the library is built for.
[[nodiscard]] StringSpan buildPlatform();

/// Returns `text` in the narrow characters of `locale`, one for each unit, with `replacement` for
/// each unit that has none. The facet decides which units have one: one facet converts U+00E9 to a
/// byte, another replaces it. For display: replaced characters are lost (`toUtf8` preserves
/// everything). Throws std::bad_cast if the locale has no std::ctype<wchar_t>.
[[nodiscard]] std::string narrowText(const std::wstring& text, char replacement,
                                     const std::locale& locale);

/// Writes the text, narrowed by the process-wide locale, with '?' for units that can't be narrowed.
/// Callers in a namespace with inserters of its own need this:
///
///     using ::operator<<;
std::ostream& operator<<(std::ostream& stream, const std::wstring& text);
