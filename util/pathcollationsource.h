#pragma once

#include <cstdint>

// The types of the tables in util/pathcollationdata.h.

/// Consecutive units.
struct UnitRun {
    uint16_t first;
    uint16_t count = 1;
};

/// Pairs of letters, upper and lower case, each `step` after the pair before.
struct PairRun {
    uint16_t upper;
    uint16_t lower;
    uint16_t count;
    uint16_t step;
};
