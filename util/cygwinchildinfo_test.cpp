#include "util/cygwinchildinfo.h"

#include <algorithm>
#include <optional>

#include <gtest/gtest.h>

#include "testing/processes/childrecord.h"

namespace {

using cygwin::child_info_magic;
using namespace testing_support;

constexpr uint32_t someMagic = 0x12345678;
constexpr std::optional<uint32_t> noMagic;

TEST(ChildInfoTest, ARecordOfTheNewerLayoutHas29BytesAtLeast) {
    EXPECT_EQ(child_info_magic(newerRecord(29, someMagic)), someMagic);
    EXPECT_EQ(child_info_magic(newerRecord(1000, someMagic)), someMagic);
    EXPECT_EQ(child_info_magic(newerRecord(28, someMagic)), noMagic);
}

TEST(ChildInfoTest, ARecordOfTheOlderLayoutHas17BytesAtLeast) {
    EXPECT_EQ(child_info_magic(olderRecord(17, someMagic)), someMagic);
    EXPECT_EQ(child_info_magic(olderRecord(28, someMagic)), someMagic);
    EXPECT_EQ(child_info_magic(olderRecord(29, someMagic)), someMagic) << "it fails the newer one";
    EXPECT_EQ(child_info_magic(olderRecord(1000, someMagic)), someMagic);
    EXPECT_EQ(child_info_magic(olderRecord(16, someMagic)), noMagic);
}

TEST(ChildInfoTest, FewerBytesAreNoRecord) {
    const ChildRecord older = olderRecord(17, someMagic);
    const ChildRecord newer = newerRecord(29, someMagic);
    for (size_t size = 0; size < newer.size(); ++size) {
        EXPECT_EQ(child_info_magic({newer.data(), size}), noMagic) << size;
        EXPECT_EQ(child_info_magic({older.data(), std::min(size, older.size() - 1)}), noMagic)
            << size;
    }
    EXPECT_EQ(child_info_magic({}), noMagic);
}

TEST(ChildInfoTest, EachOfTheSixteenBytesBeforeTheNewerOneIsZero) {
    for (size_t i = 0; i < 16; ++i) {
        ChildRecord record = newerRecord(29, someMagic);
        record[i] = 1;
        EXPECT_EQ(child_info_magic(record), noMagic) << i;
    }
}

TEST(ChildInfoTest, TheFirstWordOfTheOlderOneIsNotLookedAt) {
    ChildRecord record = olderRecord(17, someMagic);
    putWord(record, 0, 0xffffffff);
    EXPECT_EQ(child_info_magic(record), someMagic);
}

TEST(ChildInfoTest, TheSizeIsThatOfTheWholeRecord) {
    for (const uint32_t size : {0U, 28U, 30U, 0x11dU, 0xffffffffU}) {
        ChildRecord newer = newerRecord(29, someMagic);
        putWord(newer, 16, size);
        EXPECT_EQ(child_info_magic(newer), noMagic) << size;
        ChildRecord older = olderRecord(29, someMagic);
        putWord(older, 4, size);
        EXPECT_EQ(child_info_magic(older), noMagic) << size;
    }
}

TEST(ChildInfoTest, TheIntroIsOneWord) {
    for (const uint32_t intro : {0U, recordIntro + 1, recordIntro ^ 0x80000000U}) {
        ChildRecord newer = newerRecord(29, someMagic);
        putWord(newer, 20, intro);
        EXPECT_EQ(child_info_magic(newer), noMagic) << intro;
        ChildRecord older = olderRecord(29, someMagic);
        putWord(older, 8, intro);
        EXPECT_EQ(child_info_magic(older), noMagic) << intro;
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
    uint32_t before = 0;
    int count = 0;
    for (const uint32_t magic : testing_support::knownMagics) {
        EXPECT_GT(magic, before);
        before = magic;
        ++count;
        EXPECT_TRUE(cygwin::is_known_magic(magic)) << magic;
        EXPECT_FALSE(cygwin::is_known_magic(magic - 1)) << magic;
        EXPECT_FALSE(cygwin::is_known_magic(magic + 1)) << magic;
    }
    EXPECT_EQ(count, 12);
    EXPECT_FALSE(cygwin::is_known_magic(0));
    EXPECT_FALSE(cygwin::is_known_magic(0xffffffff));
}

}  // namespace
