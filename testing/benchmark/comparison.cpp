#include "testing/benchmark/comparison.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

namespace benchmark {
namespace {

struct Measured {
    Row row;
    double ours = std::numeric_limits<double>::infinity();
    double peers = std::numeric_limits<double>::infinity();

    double ratio() const { return ours / (peers + row.allowance / row.limit); }
    /// 1 at the limit. A row without times counts as over the limit.
    double nearness() const { return ratio() / row.limit; }
    bool isOver() const { return !(nearness() <= 1); }
};

std::vector<Measured> gRows;

std::string timeText(double nanoseconds) {
    const char* unit = "ns";
    if (nanoseconds >= 1e6) {
        nanoseconds /= 1e6;
        unit = "ms";
    } else if (nanoseconds >= 1e4) {
        nanoseconds /= 1e3;
        unit = "us";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", nanoseconds, unit);
    return text;
}

/// Prints the table. The last row is the one that is nearest to its limit, or farthest over it.
/// Returns whether all rows are within their limits.
bool printRows() {
    std::stable_sort(gRows.begin(), gRows.end(), [](const Measured& a, const Measured& b) {
        return a.isOver() != b.isOver() ? b.isOver() : a.nearness() < b.nearness();
    });
    std::printf("%-46s %-44s %11s %11s %8s %8s %9s\n", "operation", "peer", "ours", "peer's",
                "ratio", "limit", "of limit");
    bool isGood = true;
    for (const Measured& m : gRows) {
        std::printf("%-46s %-44s %11s %11s %8.3f %8.3f %7.0f %% %s\n", m.row.operation.c_str(),
                    m.row.peer.c_str(), timeText(m.ours).c_str(), timeText(m.peers).c_str(),
                    m.ratio(), m.row.limit, 100 * m.nearness(), m.isOver() ? "over" : "");
        isGood = isGood && !m.isOver();
    }
    return isGood;
}

/// Returns the row's index in the table. Adds the row if it isn't there.
size_t placeOf(const Row& row) {
    const auto place = std::find_if(gRows.begin(), gRows.end(), [&](const Measured& m) {
        return m.row.operation == row.operation && m.row.peer == row.peer;
    });
    const auto index = static_cast<size_t>(place - gRows.begin());
    if (place == gRows.end()) {
        gRows.push_back({row});
    }
    return index;
}

}  // namespace

Comparison::Comparison(const Row& row)
    : mRounds(row.rounds),
      mRow(placeOf(row)),
      mOurs(std::numeric_limits<double>::infinity()),
      mPeers(std::numeric_limits<double>::infinity()) {
    std::fprintf(stderr, "measuring %s, %s\n", row.operation.c_str(), row.peer.c_str());
}

bool Comparison::goesOn() {
    // The longest time that a pass spends on a row that doesn't settle.
    constexpr std::chrono::seconds longest(3);
    const bool isSettled = mTaken - mLastGain >= mRounds;
    const bool isTooLong = mTaken >= mRounds && std::chrono::steady_clock::now() - mStart > longest;
    if (mTaken != 0 && (isSettled || isTooLong)) {
        Measured& row = gRows[mRow];
        row.ours = std::min(row.ours, mOurs);
        row.peers = std::min(row.peers, mPeers);
        return false;
    }
    ++mTaken;
    return true;
}

void Comparison::record(double& best, double nanoseconds) {
    // An improvement of less than half a percent doesn't count.
    if (nanoseconds < best * 0.995) {
        mLastGain = mTaken;
    }
    best = std::min(best, nanoseconds);
}

}  // namespace benchmark

int main(int argc, char* argv[]) {
    constexpr int passes = 3;
    GTEST_FLAG_SET(repeat, passes);
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    return benchmark::printRows() || status != 0 ? status : EXIT_FAILURE;
}
