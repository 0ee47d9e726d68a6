#include "util/filetime.h"

#include <cstring>
#include <limits>
#include <optional>
#include <sstream>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "testing/scopes/environmentscope.h"

namespace {

constexpr uint64_t epoch = 116444736000000000;

TEST(FileTimeTest, TheEpochsLieAsFarApartAsPublished) {
    EXPECT_EQ(FileTime::ticksToUnixEpoch, 0x19db1ded53e8000U);
    EXPECT_EQ(FileTime::ticksToUnixEpoch, epoch);
}

TEST(FileTimeTest, TheTicksAreBeforeTheNanoseconds) {
    static_assert(std::is_standard_layout_v<FileTime> && std::is_trivially_copyable_v<FileTime>);
    struct Fields {
        uint64_t ticks;
        int32_t nanos;
    };
    ASSERT_EQ(sizeof(FileTime), sizeof(Fields));
    const FileTime time(0x0123456789abcdef, 42);
    Fields fields;
    std::memcpy(&fields, &time, sizeof fields);
    EXPECT_EQ(fields.ticks, 0x0123456789abcdefU);
    EXPECT_EQ(fields.nanos, 42);
}

TEST(FileTimeTest, ADefaultTimeIsTickZero) {
    EXPECT_EQ(FileTime().ticks(), 0U);
    EXPECT_EQ(FileTime().nanos(), 0);
}

struct CarryRow {
    uint64_t ticks;
    int32_t nanoseconds;
    uint64_t expectedTicks;
    int32_t expectedNanos;
};

TEST(FileTimeTest, NanosecondsThatMakeUpTicksGoOverToTheTicks) {
    const std::vector<CarryRow> rows = {
        {5, 250, 7, 50}, {5, 99, 5, 99}, {5, 100, 6, 0}, {0, 2'000'000'099, 20'000'000, 99}};
    for (const CarryRow& row : rows) {
        const FileTime time(row.ticks, row.nanoseconds);
        EXPECT_EQ(time.ticks(), row.expectedTicks);
        EXPECT_EQ(time.nanos(), row.expectedNanos);
    }
}

TEST(FileTimeTest, NegativeNanosecondsBorrowFromTheTicks) {
    EXPECT_EQ(FileTime(5, -1), FileTime(4, 99));
    EXPECT_EQ(FileTime(5, -250), FileTime(2, 50));
}

TEST(FileTimeTest, UnixSecondsAndNanosecondsBecomeTicks) {
    EXPECT_EQ(FileTime::fromUnixTime(0, 0), FileTime(epoch, 0));
    EXPECT_EQ(FileTime::fromUnixTime(1, 0), FileTime(epoch + 10'000'000, 0));
    EXPECT_EQ(FileTime::fromUnixTime(1'234'567'890, 123'456'789),
              FileTime(epoch + 12'345'678'901'234'567, 89));
    EXPECT_EQ(FileTime::fromUnixTime(-11'644'473'600, 0), FileTime(0, 0));
}

TEST(FileTimeTest, TicksBecomeUnixSecondsAndNanoseconds) {
    const FileTime::UnixNanoseconds time = FileTime(epoch + 12'345'678'901'234'567, 89).unixTime();
    EXPECT_EQ(time.seconds, 1'234'567'890);
    EXPECT_EQ(time.nanoseconds, 123'456'789);
}

TEST(FileTimeTest, TheLastNanosecondOfASecondStaysInIt) {
    const FileTime::UnixNanoseconds time = FileTime(epoch + 9'999'999, 99).unixTime();
    EXPECT_EQ(time.seconds, 0);
    EXPECT_EQ(time.nanoseconds, 999'999'999);
}

TEST(FileTimeTest, MicrosecondsAreNanosecondsCutToWholeOnes) {
    const FileTime::UnixMicroseconds time =
        FileTime::fromUnixTime(1'234'567'890, 123'456'999).unixTimeInMicroseconds();
    EXPECT_EQ(time.seconds, 1'234'567'890);
    EXPECT_EQ(time.microseconds, 123'456);
}

TEST(FileTimeTest, UnixSecondsAreHeldIn32BitsAndSignExtended) {
    EXPECT_EQ(FileTime::fromUnixTime(0x7fffffff, 5).unixTime().seconds, 0x7fffffff);
    EXPECT_EQ(FileTime::fromUnixTime(0x80000000, 5).unixTime().seconds, -0x80000000LL);
    EXPECT_EQ(FileTime::fromUnixTime(0xffffffff, 5).unixTime().seconds, -1);
    EXPECT_EQ(FileTime::fromUnixTime(0x100000007, 5).unixTime().seconds, 7);
    EXPECT_EQ(FileTime::fromUnixTime(0x80000000, 5).unixTime().nanoseconds, 5);
    EXPECT_EQ(FileTime::fromUnixTime(0xffffffff, 5).unixTimeInMicroseconds().seconds, -1);
}

TEST(FileTimeTest, SecondsAndRestBefore1970AddUpToTheTime) {
    const FileTime::UnixNanoseconds second = FileTime::fromUnixTime(-1, 0).unixTime();
    EXPECT_EQ(second.seconds, -1);
    EXPECT_EQ(second.nanoseconds, 0);
    const FileTime::UnixNanoseconds half = FileTime(epoch - 15'000'000, 0).unixTime();
    EXPECT_EQ(half.seconds, -1);
    EXPECT_EQ(half.nanoseconds, -500'000'000);
    EXPECT_EQ(FileTime::fromUnixTime(half.seconds, half.nanoseconds),
              FileTime(epoch - 15'000'000, 0));
    const FileTime::UnixNanoseconds between = FileTime(epoch - 10'000'000, 50).unixTime();
    EXPECT_EQ(between.seconds, -1);
    EXPECT_EQ(between.nanoseconds, 50);
    EXPECT_EQ(FileTime::fromUnixTime(between.seconds, between.nanoseconds),
              FileTime(epoch - 10'000'000, 50));
}

struct AddRow {
    FileTime before;
    int64_t nanoseconds;
    FileTime after;
};

TEST(FileTimeTest, AddedNanosecondsOfEitherSignAreBroughtBackBelowOneTick) {
    const std::vector<AddRow> rows = {
        {{1, 0}, -1, {0, 99}},
        {{1, 99}, 1, {2, 0}},
        {{1, 50}, 49, {1, 99}},
        {{1, 50}, 50, {2, 0}},
        {{1, 99}, 199, {3, 98}},
        {{1, 50}, -50, {1, 0}},
        {{1, 50}, -51, {0, 99}},
        {{9, 0}, -199, {7, 1}},
        {{9, 10}, -300, {6, 10}},
        {{9, 10}, 0, {9, 10}},
        {{0, 0}, 1'000'000'000'000'000'001, {10'000'000'000'000'000, 1}}};
    for (const AddRow& row : rows) {
        FileTime time = row.before;
        time.addNanoseconds(row.nanoseconds);
        EXPECT_EQ(time.ticks(), row.after.ticks()) << row.nanoseconds;
        EXPECT_EQ(time.nanos(), row.after.nanos()) << row.nanoseconds;
    }
}

TEST(FileTimeTest, TheLargestCountsOfNanosecondsCanBeAdded) {
    constexpr int64_t most = std::numeric_limits<int64_t>::max();
    constexpr int64_t least = std::numeric_limits<int64_t>::min();
    FileTime time(epoch, 99);
    time.addNanoseconds(most);
    EXPECT_EQ(time, FileTime(epoch + 92'233'720'368'547'759, 6));
    time = FileTime(epoch, 0);
    time.addNanoseconds(least);
    EXPECT_EQ(time, FileTime(epoch - 92'233'720'368'547'759, 92));
}

TEST(FileTimeTest, AddedSecondsAreTenMillionTicksEach) {
    FileTime time(3, 7);
    time.addSeconds(2);
    EXPECT_EQ(time, FileTime(20'000'003, 7));
    time.addSeconds(0);
    EXPECT_EQ(time, FileTime(20'000'003, 7));
    time.addSeconds(0x100000000);
    EXPECT_EQ(time, FileTime(42'949'672'980'000'003, 7));
}

TEST(FileTimeTest, CountsSince1970DifferByTheDistanceOfTheEpochs) {
    EXPECT_EQ(FileTime::fromUnixTicks(0), FileTime(epoch, 0));
    EXPECT_EQ(FileTime::fromUnixTicks(5), FileTime(epoch + 5, 0));
    EXPECT_EQ(FileTime::fromUnixTicks(-116444736000000000), FileTime(0, 0));
    EXPECT_EQ(FileTime(epoch + 5, 99).unixTicks(), 5);
    EXPECT_EQ(FileTime(0, 0).unixTicks(), -116444736000000000);
}

TEST(FileTimeTest, TimesAreEqualIfTicksAndNanosecondsAre) {
    EXPECT_TRUE(FileTime(1, 2) == FileTime(1, 2));
    EXPECT_FALSE(FileTime(1, 2) == FileTime(1, 3));
    EXPECT_FALSE(FileTime(1, 2) == FileTime(2, 2));
}

TEST(FileTimeTest, NowIsTheSystemsClockInWholeTicks) {
    const FileTime now = FileTime::now();
    EXPECT_EQ(now.nanos(), 0);
    const int64_t seconds = now.unixTicks() / 10'000'000;
    // It isn't documented which of the system's clocks is ahead, so the check allows a minute
    // either way.
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr)), 60.0);
}

std::tm brokenDown(int year, int month, int day, int hour, int minute, int second) {
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return time;
}

TEST(TimeStampTextTest, TheDateAndTimeHaveTwoDigitsEach) {
    EXPECT_EQ(timeStampText(brokenDown(2009, 1, 2, 3, 4, 5), 0), "2009-01-02T03:04:05Z");
    EXPECT_EQ(timeStampText(brokenDown(2038, 12, 31, 23, 59, 59), 0), "2038-12-31T23:59:59Z");
}

TEST(TimeStampTextTest, WestOfGreenwichIsPlusAndEastIsMinus) {
    struct Row {
        int32_t secondsWest;
        const char* expected;
    };
    const std::vector<Row> rows = {{0, "Z"},          {1, "Z"},          {-1, "Z"},
                                   {59, "Z"},         {-59, "Z"},        {60, "+0001"},
                                   {-60, "-0001"},    {119, "+0001"},    {3599, "+0059"},
                                   {3600, "+0100"},   {18000, "+0500"},  {-19800, "-0530"},
                                   {-50400, "-1400"}, {43200, "+1200"},  {-20700, "-0545"},
                                   {359940, "+9959"}, {360000, "+10000"}};
    for (const Row& row : rows) {
        EXPECT_EQ(timeStampText(brokenDown(2009, 2, 13, 23, 31, 30), row.secondsWest),
                  std::string("2009-02-13T23:31:30") + row.expected)
            << row.secondsWest;
    }
}

TEST(TimeStampTextTest, TheLargestOffsetsHaveAText) {
    EXPECT_EQ(timeStampText(std::nullopt, std::numeric_limits<int32_t>::max()), "+59652314");
    EXPECT_EQ(timeStampText(std::nullopt, std::numeric_limits<int32_t>::min()), "-59652314");
}

TEST(TimeStampTextTest, WithoutADateThereIsOnlyTheZone) {
    EXPECT_EQ(timeStampText(std::nullopt, 0), "Z");
    EXPECT_EQ(timeStampText(std::nullopt, 18000), "+0500");
}

/// Sets this process's time zone until the scope ends.
class ZoneScope {
public:
    explicit ZoneScope(const char* zone) : mVariable("TZ", zone) { tzset(); }

private:
    struct LookAgain {
        ~LookAgain() { tzset(); }
    };

    // Destroyed last, when the variable has its old value again.
    LookAgain mLookAgain;
    testing_support::EnvironmentScope mVariable;
};

std::string stamp(const FileTime& time) {
    std::ostringstream stream;
    stream << time;
    return stream.str();
}

TEST(TimeStampTest, InAZoneOfUtcTheStampEndsInZ) {
    const ZoneScope zone("UTC0");
    EXPECT_EQ(stamp(FileTime::fromUnixTime(1'234'567'890, 0)), "2009-02-13T23:31:30Z");
}

TEST(TimeStampTest, FiveHoursWestTheStampEndsInPlus0500) {
    const ZoneScope zone("EST5");
    EXPECT_EQ(stamp(FileTime::fromUnixTime(1'234'567'890, 0)), "2009-02-13T18:31:30+0500");
}

TEST(TimeStampTest, FiveAndAHalfHoursEastTheStampEndsInMinus0530) {
    const ZoneScope zone("IST-5:30");
    EXPECT_EQ(stamp(FileTime::fromUnixTime(1'234'567'890, 0)), "2009-02-14T05:01:30-0530");
}

TEST(TimeStampTest, InSummerTheStampHasSummerHoursAndTheStandardTimeOffset) {
    const ZoneScope zone("EST5EDT");
    constexpr int64_t july = 1'247'600'000;
    const std::optional<std::tm> local = localTime(july);
    if (!local || local->tm_isdst <= 0) {
        GTEST_SKIP() << "the C runtime here knows no summer time in this zone";
    }
    EXPECT_EQ(stamp(FileTime::fromUnixTime(july, 0)), "2009-07-14T15:33:20+0500");
}

TEST(TimeStampTest, FractionsOfASecondAreLeftOut) {
    const ZoneScope zone("UTC0");
    EXPECT_EQ(stamp(FileTime::fromUnixTime(0, 999'999'999)), "1970-01-01T00:00:00Z");
    // Less than a second before 1970 is truncated to 1970.
    EXPECT_EQ(stamp(FileTime(epoch - 1, 0)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(stamp(FileTime(epoch - 9'999'999, 0)), "1970-01-01T00:00:00Z");
}

TEST(TimeStampTest, TheStampGoesOnAfter2038) {
    const ZoneScope zone("UTC0");
    EXPECT_EQ(stamp(FileTime::fromUnixTime(0x80000000, 0)), "2038-01-19T03:14:08Z");
    EXPECT_EQ(stamp(FileTime::fromUnixTime(0x100000000, 0)), "2106-02-07T06:28:16Z");
}

TEST(TimeStampTest, ATimeThatTheRuntimeHasNoDateForIsStampedOnlyWithTheZone) {
    const ZoneScope zone("EST5");
    for (const FileTime& time : {FileTime(), FileTime(1, 0), FileTime::fromUnixTime(-1, 0),
                                 FileTime::fromUnixTime(100'000'000'000, 0),
                                 FileTime(std::numeric_limits<uint64_t>::max(), 99)}) {
        EXPECT_EQ(stamp(time), "+0500") << time.ticks();
    }
}

TEST(TimeStampTest, TheStampIsOneTextToTheStreamsWidth) {
    const ZoneScope zone("UTC0");
    std::ostringstream stream;
    stream.width(22);
    stream << FileTime::fromUnixTime(0, 0);
    EXPECT_EQ(stream.str(), "  1970-01-01T00:00:00Z");
}

}  // namespace
