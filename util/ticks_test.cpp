#include "util/ticks.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace {

TEST(TicksTest, ADefaultIsZero) { EXPECT_EQ(Ticks().count(), 0); }

TEST(TicksTest, ADurationIsAdded) {
    Ticks ticks(40);
    ticks += Ticks(2);
    EXPECT_EQ(ticks, Ticks(42));
    ticks += Ticks(-50);
    EXPECT_EQ(ticks, Ticks(-8));
}

TEST(TicksTest, TheDifferenceOfTwoPointsIsADuration) {
    EXPECT_EQ(Ticks(50) - Ticks(8), Ticks(42));
    EXPECT_EQ(Ticks(8) - Ticks(50), Ticks(-42));
}

TEST(TicksTest, CountsAreComparedWithTheirSign) {
    EXPECT_TRUE(Ticks(-1) < Ticks(0));
    EXPECT_FALSE(Ticks(0) < Ticks(-1));
    EXPECT_FALSE(Ticks(3) < Ticks(3));
}

TEST(TicksTest, TheLargerOfTwoIsTheLaterOne) {
    EXPECT_EQ(std::max(Ticks(-7), Ticks(3)), Ticks(3));
    EXPECT_EQ(std::max(Ticks(4), Ticks(3)), Ticks(4));
}

TEST(TicksTest, SecondsAreTheLowFiftyBitsOverTheFrequency) {
    const struct {
        int64_t count;
        double masked;
    } rows[] = {
        {0, 0.0},
        {1, 1.0},
        {123456789, 123456789.0},
        {0x3ffffffffffff, 1125899906842623.0},
        {0x4000000000000, 0.0},
        {0x4000000000005, 5.0},
        {-1, 1125899906842623.0},
        {-0x3ffffffffffff, 1.0},
        {std::numeric_limits<int64_t>::max(), 1125899906842623.0},
        {std::numeric_limits<int64_t>::min(), 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Ticks(row.count).seconds(), row.masked / Ticks::frequency()) << row.count;
    }
}

TEST(TicksTest, FromSecondsCutsOffTheFractionOfATick) {
    const double tick = 1.0 / Ticks::frequency();
    EXPECT_EQ(Ticks::fromSeconds(0.0), Ticks(0));
    EXPECT_EQ(Ticks::fromSeconds(-0.0), Ticks(0));
    EXPECT_EQ(Ticks::fromSeconds(0.9 * tick), Ticks(0));
    EXPECT_EQ(Ticks::fromSeconds(7.5 * tick), Ticks(7));
    EXPECT_NEAR(Ticks::fromSeconds(2.0).seconds(), 2.0, tick);
}

TEST(TicksDeathTest, FromSecondsOfANegativeStopsTheProcess) {
    EXPECT_DEATH(static_cast<void>(Ticks::fromSeconds(-0.001)),
                 "assertion failed at .*: seconds >= 0\\.0");
}

TEST(TicksDeathTest, FromSecondsOfANanStopsTheProcess) {
    EXPECT_DEATH(static_cast<void>(Ticks::fromSeconds(std::nan(""))),
                 "assertion failed at .*: seconds >= 0\\.0");
}

TEST(TicksTest, TheFrequencyIsPositiveAndStays) {
    const double frequency = Ticks::frequency();
    EXPECT_GT(frequency, 0.0);
    EXPECT_EQ(Ticks::frequency(), frequency);
}

TEST(TicksTest, TheCounterDoesNotRunBackwards) {
    const Ticks before = Ticks::now();
    const Ticks after = Ticks::now();
    EXPECT_FALSE(after < before);
}

TEST(TicksTest, TheClockIsTheCounterUntilItIsReplaced) { EXPECT_EQ(ticksNow, &Ticks::now); }

}  // namespace
