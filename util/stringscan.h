#pragma once

#include <string>

// Scanners and small parsers: fields, command lines, escape characters.

/// Takes the next field from a terminated text that it cuts up: the field is terminated in place,
/// and `*cursor` moves behind its delimiter. Null, with the cursor where it was, once the cursor
/// stands on the terminator. Adjacent delimiters make empty fields; a delimiter at the very end
/// makes none.
char* nextField(char** cursor, char delimiter);

/// Cuts "name:number" at the first colon; the number is read as by `atoi`, 0 where there is none,
/// and beyond an int whatever `atoi` makes of it. Without a colon `name` becomes the whole text,
/// and `*number` keeps its value. `number` is not null; `name` may be the text itself.
void splitNameAndNumber(const std::string& text, std::string& name, int* number);

/// The start of the second argument of a Windows command line, by the quoting rules of the Windows
/// runtime library: quotes hold spaces together, and a quote behind an odd number of backslashes is
/// an ordinary character. Only spaces part arguments, and spaces at the front stand for a first
/// argument that is empty. The terminator if there is no second argument.
const char* nextArgument(const char* commandLine);

/// The first `c` in the range that isn't escaped, that is, doesn't follow an `esc` which isn't
/// escaped itself; `last` if there is none. A NUL that isn't escaped ends the scan, too, and is the
/// result. `c` and `esc` must differ, and neither is NUL.
const char* findUnescaped(const char* first, const char* last, char c, char esc);

/// The first character in the range that is in `set`, or `last`. A NUL in the range counts as
/// found.
const char* findAnyOf(const char* first, const char* last, const char* set);

/// Appends the words of a null-terminated vector to a command line, each in double quotes and with
/// a space behind it, the last not excepted. The shell operators ">", ">>", "|", "<", "2>&1",
/// "1>&2" and "2>" stay bare. Quotes and backslashes inside a word are not escaped.
void appendQuotedWords(const char* const* words, std::string& commandLine);
