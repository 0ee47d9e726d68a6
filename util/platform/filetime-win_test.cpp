#include "util/platform/filetime-win.h"

#include <ctime>

#include <gtest/gtest.h>

#include "testing/calls/replacedcall-win.h"

namespace {

using namespace testing_support;

TEST(WindowsTimeTest, BothHalvesOfAWindowsTimeBecomeTheTicks) {
    const FILETIME time{/*dwLowDateTime=*/0xd53e8001, /*dwHighDateTime=*/0x019db1de};
    EXPECT_EQ(fromWindowsTime(time), FileTime(0x019db1ded53e8001, 0));
}

TEST(WindowsTimeTest, TheTicksBecomeBothHalvesOfAWindowsTime) {
    const FILETIME time = toWindowsTime(FileTime(0xf19db1ded53e8001, 99));
    EXPECT_EQ(time.dwLowDateTime, 0xd53e8001U);
    EXPECT_EQ(time.dwHighDateTime, 0xf19db1deU);
}

TEST(WindowsTimeTest, NowIsWhatTheSystemGivesAsFileTime) {
    const ReplacedCall<decltype(GetSystemTimeAsFileTime)> call("GetSystemTimeAsFileTime",
                                                               [](LPFILETIME time) {
                                                                   *time = {0xfedcba98, 0x01234567};
                                                               });
    EXPECT_EQ(FileTime::now(), FileTime(0x01234567fedcba98, 0));
}

TEST(WindowsTimeTest, ATimeThatTheRuntimeRefusesHasNoLocalTime) {
    using Runtime = decltype(_localtime64);
    const ReplacedCall<Runtime> call("_localtime64",
                                     [](const __time64_t*) -> std::tm* { return nullptr; });
    EXPECT_FALSE(localTime(0).has_value());
}

}  // namespace
