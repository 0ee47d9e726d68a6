#pragma once

#include <cstdint>

// The shapes of util/pathcollationdata.h.

/// Units that follow one another.
struct UnitRun {
    uint16_t first;
    uint16_t count = 1;
};

/// Letters of both cases, each `step` behind the one before.
struct PairRun {
    uint16_t upper;
    uint16_t lower;
    uint16_t count;
    uint16_t step;
};
