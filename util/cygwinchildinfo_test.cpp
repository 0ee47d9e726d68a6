#include "util/cygwinchildinfo.h"

#include <algorithm>
#include <optional>

#include <gtest/gtest.h>

#include "testing/processes/childrecord.h"

namespace {

using cygwin::child_info_magic;
using namespace testing_support;

constexpr uint32_t MAGIC = 0x12345678;
constexpr std::optional<uint32_t> NONE;

TEST(ChildInfoTest, ARecordOfTheNewerLayoutHas29BytesAtLeast) {
    EXPECT_EQ(child_info_magic(newerRecord(29, MAGIC)), MAGIC);
    EXPECT_EQ(child_info_magic(newerRecord(1000, MAGIC)), MAGIC);
    EXPECT_EQ(child_info_magic(newerRecord(28, MAGIC)), NONE);
}

TEST(ChildInfoTest, ARecordOfTheOlderLayoutHas17BytesAtLeast) {
    EXPECT_EQ(child_info_magic(olderRecord(17, MAGIC)), MAGIC);
    EXPECT_EQ(child_info_magic(olderRecord(28, MAGIC)), MAGIC);
    EXPECT_EQ(child_info_magic(olderRecord(29, MAGIC)), MAGIC) << "it fails the newer one";
    EXPECT_EQ(child_info_magic(olderRecord(1000, MAGIC)), MAGIC);
    EXPECT_EQ(child_info_magic(olderRecord(16, MAGIC)), NONE);
}

TEST(ChildInfoTest, FewerBytesAreNoRecord) {
    const ChildRecord older = olderRecord(17, MAGIC);
    const ChildRecord newer = newerRecord(29, MAGIC);
    for (size_t size = 0; size < newer.size(); ++size) {
        EXPECT_EQ(child_info_magic({newer.data(), size}), NONE) << size;
        EXPECT_EQ(child_info_magic({older.data(), std::min(size, older.size() - 1)}), NONE) << size;
    }
    EXPECT_EQ(child_info_magic({}), NONE);
}

TEST(ChildInfoTest, EachOfTheSixteenBytesInFrontOfTheNewerOneIsZero) {
    for (size_t i = 0; i < 16; ++i) {
        ChildRecord record = newerRecord(29, MAGIC);
        record[i] = 1;
        EXPECT_EQ(child_info_magic(record), NONE) << i;
    }
}

TEST(ChildInfoTest, TheFirstWordOfTheOlderOneIsNotLookedAt) {
    ChildRecord record = olderRecord(17, MAGIC);
    putWord(record, 0, 0xffffffff);
    EXPECT_EQ(child_info_magic(record), MAGIC);
}

TEST(ChildInfoTest, TheSizeIsThatOfTheWholeRecord) {
    for (const uint32_t size : {0U, 28U, 30U, 0x11dU, 0xffffffffU}) {
        ChildRecord newer = newerRecord(29, MAGIC);
        putWord(newer, 16, size);
        EXPECT_EQ(child_info_magic(newer), NONE) << size;
        ChildRecord older = olderRecord(29, MAGIC);
        putWord(older, 4, size);
        EXPECT_EQ(child_info_magic(older), NONE) << size;
    }
}

TEST(ChildInfoTest, TheIntroIsOneWord) {
    for (const uint32_t intro : {0U, INTRO + 1, INTRO ^ 0x80000000U}) {
        ChildRecord newer = newerRecord(29, MAGIC);
        putWord(newer, 20, intro);
        EXPECT_EQ(child_info_magic(newer), NONE) << intro;
        ChildRecord older = olderRecord(29, MAGIC);
        putWord(older, 8, intro);
        EXPECT_EQ(child_info_magic(older), NONE) << intro;
    }
}

TEST(ChildInfoTest, AnyMagicIsTakenByItsBytes) {
    EXPECT_EQ(child_info_magic(newerRecord(40, 0)), 0U);
    EXPECT_EQ(child_info_magic(olderRecord(40, 0xffffffff)), 0xffffffffU);
    ChildRecord record = newerRecord(40, 0);
    record[24] = 0x78;
    record[25] = 0x56;
    record[26] = 0x34;
    record[27] = 0x12;
    EXPECT_EQ(child_info_magic(record), 0x12345678U);
}

TEST(ChildInfoTest, TwelveMagicsAreKnown) {
    for (const uint32_t magic : testing_support::KNOWN_MAGICS) {
        EXPECT_TRUE(cygwin::is_known_magic(magic)) << magic;
        EXPECT_FALSE(cygwin::is_known_magic(magic + 1)) << magic;
    }
    EXPECT_FALSE(cygwin::is_known_magic(0));
    EXPECT_FALSE(cygwin::is_known_magic(0xffffffff));
}

}  // namespace
