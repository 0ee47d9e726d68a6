#pragma once

#include <string>

// Scanners and small parsers: fields, command lines, escape characters.

/// Returns the next field of a terminated text. The text is modified: the field is terminated in
/// place, and `*cursor` moves past its delimiter. Returns null, and leaves the cursor where it is,
/// if the cursor is at the terminator. Adjacent delimiters yield empty fields; a delimiter at the
/// very end yields none: "one::two:" has the fields "one", "" and "two".
[[nodiscard]] char* nextField(char** cursor, char delimiter);

/// Splits "name:number" at the first colon. The number is read by `atoi`: it is 0 if there is none,
/// and if it doesn't fit an int, the result is that of `atoi`. Without a colon `name` becomes the
/// whole text, and `*number` is unchanged. `number` must not be null; `name` may be the text
/// itself.
///
///     port:8080        port, 8080
///     port: -7 rest    port, -7
///     a:1:2            a, 1
///     port:            port, 0
///     port             port, number unchanged
void splitNameAndNumber(const std::string& text, std::string& name, int* number);

/// Returns the start of the second argument of a Windows command line, or the terminator if there
/// is no second argument. The quoting rules are those of the Windows runtime library: quotes hold
/// spaces together, and a quote after an odd number of backslashes is an ordinary character. Only
/// spaces separate arguments. Spaces at the front mean that the first argument is empty.
///
///     "a b" c        c
///     a\"b c         c
///     a\\"b c" d     d
[[nodiscard]] const char* nextArgument(const char* commandLine);

/// Returns the first `c` in the range that isn't escaped, or `last` if there is none. A character
/// is escaped if it follows an `esc` that isn't escaped itself. An unescaped NUL also ends the
/// scan, and is the result. `c` and `esc` must differ, and neither may be NUL.
///
///     a\;b;c     the second semicolon
///     a\\;b      the semicolon
[[nodiscard]] const char* findUnescaped(const char* first, const char* last, char c, char esc);

/// Returns the first character in the range that is in `set`, or `last` if there is none. A NUL in
/// the range counts as found.
[[nodiscard]] const char* findAnyOf(const char* first, const char* last, const char* set);

/// Appends the words of a null-terminated vector to a command line, each in double quotes and
/// followed by a space, even the last one. The shell operators ">", ">>", "|", "<", "2>&1", "1>&2"
/// and "2>" are not quoted. Quotes and backslashes in a word are not escaped.
void appendQuotedWords(const char* const* words, std::string& commandLine);
