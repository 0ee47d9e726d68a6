#include <cstdlib>

#include <gtest/gtest.h>

#include "testing/calls/replacedcall-win.h"
#include "util/ticks.h"

namespace {

using namespace testing_support;

int gCalls = 0;

TEST(TicksWinTest, NowIsThePerformanceCounter) {
    ReplacedCall<decltype(QueryPerformanceCounter)> call("QueryPerformanceCounter",
                                                         [](LARGE_INTEGER* counter) -> BOOL {
                                                             counter->QuadPart = 0x123456789abc;
                                                             return TRUE;
                                                         });
    EXPECT_EQ(Ticks::now(), Ticks(0x123456789abc));
}

TEST(TicksWinTest, NowAsksUntilTheCounterAnswers) {
    gCalls = 0;
    ReplacedCall<decltype(QueryPerformanceCounter)> call("QueryPerformanceCounter",
                                                         [](LARGE_INTEGER* counter) -> BOOL {
                                                             counter->QuadPart = ++gCalls;
                                                             return gCalls == 4;
                                                         });
    EXPECT_EQ(Ticks::now(), Ticks(4));
}

// The frequency is stored for the whole process, so these run in their own process.

double frequencyOfThirdAnswer() {
    gCalls = 0;
    ReplacedCall<decltype(QueryPerformanceFrequency)> call(
        "QueryPerformanceFrequency", [](LARGE_INTEGER* frequency) -> BOOL {
            frequency->QuadPart = LONGLONG{1000} * ++gCalls;
            return gCalls >= 3;
        });
    return Ticks::frequency();
}

TEST(TicksWinTest, TheFrequencyIsAskedForUntilTheCounterAnswers) {
    EXPECT_EXIT(std::_Exit(frequencyOfThirdAnswer() == 3000.0 ? 0 : 1), testing::ExitedWithCode(0),
                "");
}

TEST(TicksWinTest, TheFrequencyIsAskedForOnce) {
    EXPECT_EXIT(
        {
            const double first = frequencyOfThirdAnswer();
            const double second = frequencyOfThirdAnswer();
            std::_Exit(first == second && gCalls == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(TicksWinTest, SecondsAndTicksConvertByTheCountersFrequency) {
    EXPECT_EXIT(
        {
            frequencyOfThirdAnswer();
            const bool good =
                Ticks(4500).seconds() == 1.5 && Ticks::fromSeconds(0.0019) == Ticks(5);
            std::_Exit(good ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
