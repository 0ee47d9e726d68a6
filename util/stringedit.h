#pragma once

#include <string>

// Functions that edit a text in place. None makes the text longer, and none allocates memory.

/// Removes all carriage returns and line feeds from the end. Other blanks stop it.
void chomp(std::string& text);

/// Removes blanks, including line ends, from both ends. A text that consists of blanks becomes
/// empty.
void trim(std::string& text);

/// Removes vertical tabs, form feeds, tabs and spaces from the front. A line end stops it, so a
/// text that begins with one is unchanged.
void trimLeft(std::string& text);

/// @{
/// Convert every byte by the character type facet of `processLocale()`. Throw std::bad_cast if that
/// locale has no such facet.
void toLower(std::string& text);
void toUpper(std::string& text);
/// @}

/// Replaces each `from` by `to`. Exception: if the last character of the text is `from`, it is
/// dropped. From a backslash to a slash:
///
///     a\b\    becomes    a/b
///     a\\     becomes    a/     only the last one is dropped
void replaceChar(std::string& text, char from, char to);

/// As the limit of `blankLineContinuations`: there is none.
inline constexpr int noContinuationLimit = -1;

/// Replaces each backslash directly before a line feed, and that line feed, by two spaces. So
/// continued lines become one, and all offsets stay the same. A backslash before a carriage return
/// is left alone, and so are all backslashes at or after index `limit`, unless it is
/// noContinuationLimit. Any other limit below 0 counts as 0.
void blankLineContinuations(std::string& text, int limit);

/// Replaces each run of blanks, including line ends, by one space, and removes blanks at both ends.
void collapseWhitespace(std::string& text);
