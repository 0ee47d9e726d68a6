#pragma once

#include <string>

// Edits of a text in place. None makes the text longer, and none allocates.

/// Cuts carriage returns and line feeds from the end, all there are. Other blanks stop it.
void chomp(std::string& text);

/// Cuts blanks, line ends among them, from both ends. A text of blanks alone becomes empty.
void trim(std::string& text);

/// Cuts vertical tabs, form feeds, tabs and spaces from the front. A line end stops it, so a text
/// that begins with one stays as it is.
void trimLeft(std::string& text);

/// Converts every byte by the character type facet of `processLocale()`. Throws std::bad_cast if
/// that locale has no such facet.
void toLower(std::string& text);
void toUpper(std::string& text);

/// Overwrites each `from` by `to`, save a `from` that is the text's last character: that one is
/// dropped. Only one is: of two at the end the first is overwritten.
void replaceChar(std::string& text, char from, char to);

/// Overwrites each backslash that stands directly before a line feed, and that line feed, by two
/// spaces, so that continued lines become one and every offset stays as it was. A backslash before
/// a carriage return is left alone. Backslashes at or behind index `limit` are left alone; a limit
/// of -1 is none, and one below that counts as 0.
void blankLineContinuations(std::string& text, int limit);

/// Makes one space of each run of blanks, line ends among them, and drops those at both ends.
void collapseWhitespace(std::string& text);
