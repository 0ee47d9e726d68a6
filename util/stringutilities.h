#pragma once

// The plain text layer: comparison with a case switch, edits in place, splitting and joining, small
// scanners for command lines and escape characters, a view for parsing in place, wildcards, and
// inserters that print any bytes. Text is `std::string`, taken as bytes that hold UTF-8; case folds
// by the locale of the C runtime (see cruntime.h), save by `toLower`, `toUpper` and
// `wildcardMatch`, which follow the process-wide locale.
//
// Nothing here has shared state: any thread may call the functions, and none allocates more than
// the strings and containers that it fills. Of failures `splitQuoted` reports an open quote by
// false. What else can go wrong is a fault of the caller: `format` throws std::length_error for a
// text beyond its capacity, `joinRanges` std::out_of_range for a range that begins behind the text,
// the free `findUnescaped` asserts that its two characters differ. `toLower` and `toUpper` throw
// std::bad_cast under a locale without character types, and std::bad_alloc passes. `Substring` and
// the inserters tell their own.
//
// Four sets of blanks stand side by side, and each function keeps to its own:
//
//     trim, collapseWhitespace   space, tab, vertical tab, form feed, carriage return, line feed
//     trimLeft                   space, tab, vertical tab, form feed: line ends stay
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
