#pragma once

// The order of paths as Windows users expect it: without regard to case, `/` and `\` the same, and
// a path directly before those below it.
//
//     comparePaths("C:\\a\\B", "c:/A/b/") == 0
//     comparePaths("a/b", "a!") < 0
//
// Nothing here allocates or throws, and any thread may call it; `comparePaths` not while another
// changes Cygwin mode (see pathfun.h), on which the order of rooted paths depends.

#include <array>
#include <cstdint>
#include <string>

#include "util/substring.h"
#include "util/textspan.h"

/// A value for each UTF-16 unit, surrogates included.
using PathUnitTable = std::array<uint16_t, 65536>;

/// The weight of each unit: 1 (U+0000) to 64562, each in use; smaller ones sort first. Two units
/// share one in 974 pairs: `/` and `\`, and 973 letters and their partners of the other case. The
/// order is that of the Unicode Collation Algorithm's default table (UTS #10) as far as fixed
/// places let it: scripts/make-pathcollation tells how it is made.
extern const PathUnitTable pathCollationTable;
/// The partner of each unit that shares its weight, or the unit itself. Defines the pairs.
extern const PathUnitTable pathCaseSwapTable;

inline uint16_t collationWeight(uint16_t unit) { return pathCollationTable[unit]; }
/// The difference of the weights: below, at or above 0.
inline int compareCollation(uint16_t a, uint16_t b) {
    return int{collationWeight(a)} - int{collationWeight(b)};
}

constexpr bool isPathSeparatorUnit(uint16_t unit) { return unit == '\\' || unit == '/'; }

/// Below, at or above 0 as `a` sorts before, with or after `b`; of two weights their difference.
/// A rooted path (absolute in `windowsPaths`, or with a separator in front) sorts after one that
/// isn't. Roots are compared first, unit by unit; after them any run of separators is one, those
/// at the end count as none, and a separator sorts before every other character. Text is UTF-8; a
/// byte that isn't valid counts as a unit of its own (see PathUnitCursor).
int comparePaths(StringSpan a, StringSpan b);

/// Whether two characters are the same to a path: but for case, by the C runtime, or as separators.
bool pathCharsEqual(char a, char b);

// For containers. Case folds by the C runtime (see cruntime.h), and separators are characters like
// others. Strings are compared up to their first NUL; of parts, an equal beginning sorts first.

struct StringNoCaseLess {
    bool operator()(const std::string& a, const std::string& b) const;
};
struct StringNoCaseEqual {
    bool operator()(const std::string& a, const std::string& b) const;
};
struct SubstringNoCaseLess {
    bool operator()(const Substring& a, const Substring& b) const;
};
struct SubstringNoCaseEqual {
    bool operator()(const Substring& a, const Substring& b) const;
};
