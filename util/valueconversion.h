#pragma once

#include <locale>
#include <ostream>
#include <string>

#include "util/textspan.h"

/// True if `text` is a boolean word, with its value in `*value` (not null); otherwise false, and
/// `*value` is left alone. The words, in any mix of case: "1", "t", "y", "true", "yes", "on" and
/// "0", "f", "n", "false", "no", "off". Nothing is trimmed.
bool parseBool(StringSpan text, bool* value);

/// A decimal number by the rules of `strtol`: leading white space and a sign are taken, and a
/// number too large for an int becomes INT_MAX or INT_MIN without being noticed.
///
/// True if the number is all of `text`. An empty text (a null span as well) is the number 0;
/// blanks behind the digits, and blanks or a sign alone, fail. `*value` takes what was read in
/// front of the first wrong character (0 if that is nothing), also when the result is false;
/// `value` may be null. Not a character outside the span is read, and no terminator is needed: the
/// first two characters of "12345" are the number 12.
bool parseInt(StringSpan text, int* value);

/// Reads the number at the start of a terminated text, however long it is, and is true if it ends
/// just `length` characters behind that start: "12345" with a length of 2 is 12345 and false. A
/// text without a number is 0 and ends at its start. A `length` below 1 is that of the whole text.
/// `text` is not null; `value` may be.
bool parseInt(const char* text, int length, int* value);

/// `value` as "%g" writes it: up to `precision` significant digits (0 counts as 1, a negative count
/// as 6) without zeros at the end, and with an exponent if that is below -4 or not below the
/// precision. Infinity is "inf", no number "nan". The decimal point is a full stop whatever the
/// locale.
std::string doubleToString(double value, int precision);

/// Codes of the platforms that have a name.
enum Platform : int {
    platformUnknown = -1,
    platformNone = 0,
    platformWindows = 1,
    platformSolaris = 2,
    platformLinux = 3,
    platformSolarisX86 = 4,
};

/// The `Platform` of "windows", "solaris", "linux" or "solarisx86", in any mix of case. Null is
/// `platformNone`, any other text `platformUnknown`.
int parsePlatform(const char* name);

/// The name of the platform that the library is built for.
StringSpan buildPlatform();

/// `text` in the narrow characters of `locale`, one for each unit, with `replacement` for each
/// unit that has none. Which units have one is the facet's affair: U+00E9 is a byte to one and
/// replaced by another. For display: what was replaced is lost (`toUtf8` keeps everything).
/// std::bad_cast if the locale has no std::ctype<wchar_t>.
std::string narrowText(const std::wstring& text, char replacement, const std::locale& locale);

/// The text narrowed by the process-wide locale, with '?' for what can't be narrowed. Callers in a
/// namespace with inserters of its own say `using ::operator<<`.
std::ostream& operator<<(std::ostream& stream, const std::wstring& text);
