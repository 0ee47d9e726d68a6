#pragma once

// The order of paths as Windows users expect it: case is ignored, `/` and `\` are equal, and a path
// comes directly before the paths below it.
//
//     comparePaths("C:\\a\\B", "c:/A/b/") == 0
//     comparePaths("a/b", "a!") < 0
//
// No function here allocates or throws, and any thread may call them. Exception: `comparePaths`
// must not run while another thread changes Cygwin mode (see pathfun.h), because the order of
// rooted paths depends on it.

#include <array>
#include <cstdint>
#include <string>

#include "util/substring.h"
#include "util/textspan.h"

/// One value for each UTF-16 unit, surrogates included.
using PathUnitTable = std::array<uint16_t, 65536>;

/// The weight of each unit, from 1 (U+0000) to 64562. Every value in this range is used; smaller
/// weights sort first. Two units share a weight in 974 pairs: `/` and `\`, and 973 letters and
/// their partners of the other case. The order is that of the Unicode Collation Algorithm's default
/// table (UTS #10) as far as fixed positions permit: scripts/make-pathcollation documents how it is
/// made.
extern const PathUnitTable pathCollationTable;
/// The other unit of each unit's pair (the one with the same weight), or the unit itself if it is
/// in no pair.
extern const PathUnitTable pathCaseSwapTable;

/// Returns the weight of a unit.
[[nodiscard]] inline uint16_t collationWeight(uint16_t unit) { return pathCollationTable[unit]; }
/// Returns the difference of the weights: below, at or above 0.
[[nodiscard]] inline int compareCollation(uint16_t a, uint16_t b) {
    return int{collationWeight(a)} - int{collationWeight(b)};
}

/// Returns whether a unit is `/` or `\`.
[[nodiscard]] constexpr bool isPathSeparatorUnit(uint16_t unit) {
    return unit == '\\' || unit == '/';
}

/// Returns a number below, at or above 0 if `a` sorts before, with or after `b`. If two weights
/// decide, it is their difference.
///
/// A path is rooted if it is absolute in `windowsPaths` or has a leading separator. Rooted paths
/// sort after all others. Roots are compared first, unit by unit. After the roots a run of
/// separators counts as one, trailing separators are ignored, and a separator sorts before every
/// other character. Text is UTF-8; a byte that isn't valid counts as a unit of its own (see
/// PathUnitCursor).
///
///     C:\a\\b        c:/A/b         0
///     C:a            c:\A           0
///     //srv/sh       \\SRV\sh/      0
///     //srv/sh/x     //srv//sh/x    not 0, the roots differ
///     a/b            ab             below 0
///     C:\a           a              above 0, only C:\a is rooted
[[nodiscard]] int comparePaths(StringSpan a, StringSpan b);

/// Returns whether two characters are equal in a path: the same except for case, by the C runtime,
/// or both separators.
[[nodiscard]] bool pathCharsEqual(char a, char b);

/// The order of strings for containers. Case folds by the C runtime (see cruntime.h), and
/// separators are ordinary characters. Strings are compared up to their first NUL. Of two
/// Substrings that are alike over the shorter length, the shorter one sorts first.
struct StringNoCaseLess {
    /// Returns whether `a` comes before `b`.
    bool operator()(const std::string& a, const std::string& b) const;
};
/// Equality for containers, as StringNoCaseLess compares.
struct StringNoCaseEqual {
    /// Returns whether both are alike.
    bool operator()(const std::string& a, const std::string& b) const;
};
/// The order of Substrings for containers: see StringNoCaseLess.
struct SubstringNoCaseLess {
    /// Returns whether `a` comes before `b`.
    bool operator()(const Substring& a, const Substring& b) const;
};
/// Equality for containers, as SubstringNoCaseLess compares.
struct SubstringNoCaseEqual {
    /// Returns whether both are alike.
    bool operator()(const Substring& a, const Substring& b) const;
};
