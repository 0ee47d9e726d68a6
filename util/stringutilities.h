#pragma once

// The plain text layer: comparison with a case switch, edits in place, splitting and joining, small
// scanners for command lines and escape characters, a view for parsing in place, wildcards, and
// inserters that print arbitrary bytes. Text is `std::string`, treated as bytes that hold UTF-8.
// Case folds by the locale of the C runtime (see cruntime.h), except in `toLower`, `toUpper` and
// `wildcardMatch`, which use the process-wide locale.
//
// Nothing here has shared state: any thread may call the functions. None allocates more than the
// strings and containers that it fills.
//
// Only `splitQuoted` reports an error, an open quote, by returning false. All other errors are
// errors of the caller: `format` throws std::length_error for a text beyond its capacity,
// `joinRanges` throws std::out_of_range for a range that begins after the end of the text, and the
// free `findUnescaped` asserts that its two characters differ. `toLower` and `toUpper` throw
// std::bad_cast under a locale without character types. std::bad_alloc passes through. `Substring`
// and the inserters document their own errors.
//
// There are four sets of blanks, and each function uses its own:
//
//     trim, collapseWhitespace   space, tab, vertical tab, form feed, carriage return, line feed
//     trimLeft                   space, tab, vertical tab, form feed, but no line ends
//     chomp                      carriage return, line feed
//     Substring                  space, tab

#include "util/escapedoutput.h"
#include "util/stringcompare.h"
#include "util/stringedit.h"
#include "util/stringformat.h"
#include "util/stringscan.h"
#include "util/stringsplit.h"
#include "util/substring.h"
#include "util/wildcard.h"
