// The constant tables, computed by the compiler from the order of the units and the case pairs.

#include "util/pathcollation.h"
#include "util/pathcollationdata.h"

namespace {

constexpr PathUnitTable makeCollationTable() {
    PathUnitTable weights{};
    uint16_t weight = 0;
    for (const UnitRun& run : collationOrder) {
        for (uint32_t i = 0; i < run.count; ++i) {
            weights[run.first + i] = ++weight;
        }
    }
    for (const PairRun& run : casePairs) {
        for (uint32_t i = 0; i < run.count; ++i) {
            weights[run.upper + i * run.step] = weights[run.lower + i * run.step];
        }
    }
    weights['\\'] = weights['/'];
    return weights;
}

constexpr PathUnitTable makeCaseSwapTable() {
    PathUnitTable partners{};
    for (uint32_t unit = 0; unit < partners.size(); ++unit) {
        partners[unit] = static_cast<uint16_t>(unit);
    }
    for (const PairRun& run : casePairs) {
        for (uint32_t i = 0; i < run.count; ++i) {
            const uint32_t upper = run.upper + i * run.step;
            const uint32_t lower = run.lower + i * run.step;
            partners[upper] = static_cast<uint16_t>(lower);
            partners[lower] = static_cast<uint16_t>(upper);
        }
    }
    partners['/'] = '\\';
    partners['\\'] = '/';
    return partners;
}

}  // namespace

constinit const PathUnitTable pathCollationTable = makeCollationTable();
constinit const PathUnitTable pathCaseSwapTable = makeCaseSwapTable();
