#include "util/windows/system/filestat-win.h"

#include <cstddef>

#include <gtest/gtest.h>

namespace {

FileStat withAttributes(uint32_t attributes) {
    FileStat stat;
    stat.attributes = attributes;
    return stat;
}

TEST(FileStatTest, ANewValueIsAllZero) {
    const FileStat stat;
    EXPECT_EQ(stat.device | stat.fileIndex | stat.size | stat.links, 0U);
    EXPECT_EQ(stat.created, FileTime(0, 0));
    EXPECT_EQ(stat.accessed, FileTime(0, 0));
    EXPECT_EQ(stat.written, FileTime(0, 0));
    for (const uint32_t word : stat.reserved) {
        EXPECT_EQ(word, 0U);
    }
    EXPECT_EQ(stat.attributes, 0U);
}

TEST(FileStatTest, TheFieldsStandInTheirOrder) {
    EXPECT_EQ(offsetof(FileStat, device), 0U);
    EXPECT_LT(offsetof(FileStat, device), offsetof(FileStat, fileIndex));
    EXPECT_LT(offsetof(FileStat, fileIndex), offsetof(FileStat, size));
    EXPECT_LT(offsetof(FileStat, size), offsetof(FileStat, links));
    EXPECT_LT(offsetof(FileStat, links), offsetof(FileStat, created));
    EXPECT_LT(offsetof(FileStat, created), offsetof(FileStat, accessed));
    EXPECT_LT(offsetof(FileStat, accessed), offsetof(FileStat, written));
    EXPECT_LT(offsetof(FileStat, written), offsetof(FileStat, reserved));
    EXPECT_EQ(offsetof(FileStat, reserved) + 12, offsetof(FileStat, attributes));
}

template <class Entry>
Entry listingEntry() {
    Entry entry = {};
    entry.dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    entry.nFileSizeHigh = 2;
    entry.nFileSizeLow = 3;
    entry.ftCreationTime = {10, 1};
    entry.ftLastAccessTime = {20, 2};
    entry.ftLastWriteTime = {30, 3};
    return entry;
}

void expectListed(const FileStat& stat) {
    EXPECT_EQ(stat.device, 0U);
    EXPECT_EQ(stat.fileIndex, 0U);
    EXPECT_EQ(stat.links, 1U);
    EXPECT_EQ(stat.size, 0x200000003U);
    EXPECT_EQ(stat.created, FileTime(0x10000000AU, 0));
    EXPECT_EQ(stat.accessed, FileTime(0x200000014U, 0));
    EXPECT_EQ(stat.written, FileTime(0x30000001EU, 0));
    EXPECT_EQ(stat.attributes, 16U);
}

TEST(FileStatTest, AListingEntryIsTakenWithoutItsReparseBit) {
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAW>()));
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAA>()));
}

TEST(FileStatTest, AListingEntryOfTheReparseBitAloneHasNoAttributes) {
    WIN32_FIND_DATAW wide = {};
    wide.dwFileAttributes = 0x400;
    EXPECT_EQ(FileStat(wide).attributes, 0U);
    WIN32_FIND_DATAA narrow = {};
    narrow.dwFileAttributes = 0x400;
    EXPECT_EQ(FileStat(narrow).attributes, 0U);
}

TEST(FileStatCopyFromTest, TheMaskChoosesTimesAndAttributes) {
    FileStat other;
    other.device = 1;
    other.fileIndex = 2;
    other.size = 3;
    other.links = 4;
    other.created = FileTime(5, 15);
    other.accessed = FileTime(6, 16);
    other.written = FileTime(7, 17);
    other.attributes = 1;
    for (const unsigned mask : {0U, 1U, 2U, 4U, 64U, 71U, ~71U}) {
        SCOPED_TRACE(mask);
        FileStat stat;
        stat.attributes = 128;
        stat.copyFrom(other, mask);
        EXPECT_EQ(stat.device, 1U);
        EXPECT_EQ(stat.fileIndex, 2U);
        EXPECT_EQ(stat.size, 3U);
        EXPECT_EQ(stat.links, 4U);
        EXPECT_EQ(stat.created, (mask & 1) != 0 ? other.created : FileTime());
        EXPECT_EQ(stat.accessed, (mask & 2) != 0 ? other.accessed : FileTime());
        EXPECT_EQ(stat.written, (mask & 4) != 0 ? other.written : FileTime());
        EXPECT_EQ(stat.attributes, (mask & 64) != 0 ? 1U : 128U);
    }
}

TEST(FileStatTest, SetTimesToNowSetsAllThreeToOneTime) {
    const FileTime before = FileTime::now();
    FileStat stat;
    stat.setTimesToNow();
    EXPECT_GE(stat.created.ticks(), before.ticks());
    EXPECT_LE(stat.created.ticks(), FileTime::now().ticks());
    EXPECT_EQ(stat.accessed, stat.created);
    EXPECT_EQ(stat.written, stat.created);
}

TEST(FileStatTest, TheTestsLookAtTheirBits) {
    const struct {
        uint32_t attributes;
        bool directory, system, writable;
        int type;
    } rows[] = {
        {128, false, false, true, 1},    {1, false, false, false, 1},
        {4, false, true, true, 1},       {5, false, true, false, 1},
        {16, true, false, true, 3},      {17, true, false, true, 3},
        {0x400, false, false, true, 2},  {0x410, false, false, true, 2},
        {0x401, false, false, false, 2}, {64, false, false, true, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.attributes);
        const FileStat stat = withAttributes(row.attributes);
        EXPECT_EQ(stat.attributesValue(), row.attributes);
        EXPECT_EQ(stat.isDirectory(), row.directory);
        EXPECT_EQ(stat.isNotDirectory(), !row.directory);
        EXPECT_EQ(stat.isSystem(), row.system);
        EXPECT_EQ(stat.isWritable(), row.writable);
        EXPECT_EQ(stat.type(), row.type);
    }
}

TEST(FileStatTest, AfterSetLinkADirectoryIsALink) {
    FileStat stat = withAttributes(16);
    stat.setLink();
    EXPECT_FALSE(stat.isDirectory());
    EXPECT_TRUE(stat.isNotDirectory());
    EXPECT_EQ(stat.type(), 2);
    EXPECT_EQ(stat.attributes, 0x410U);
    FileStat plain = withAttributes(128);
    plain.setLink();
    EXPECT_EQ(plain.attributes, 0x400U);
}

TEST(FileStatTest, SetAttributesKeepsTheWordFromZeroAndNormalAlone) {
    const uint32_t rows[][2] = {{0, 128}, {129, 1}, {128, 128}, {0x410, 0x410}, {16, 16}};
    for (const auto& row : rows) {
        FileStat stat;
        stat.setAttributes(row[0]);
        EXPECT_EQ(stat.attributes, row[1]);
    }
}

TEST(FileStatTest, SetTypeSetsTheDirectoryBitForThreeAndClearsItForAnyOther) {
    FileStat stat;
    stat.setType(3);
    EXPECT_EQ(stat.attributes, 16U);
    stat.setType(1);
    EXPECT_EQ(stat.attributes, 128U);
    stat.setAttributes(17);
    stat.setType(2);
    EXPECT_EQ(stat.attributes, 1U);
    stat.setAttributes(128);
    stat.setType(3);
    EXPECT_EQ(stat.attributes, 16U);
}

TEST(FileStatTest, ALinkStaysOneWhateverElseIsSet) {
    FileStat stat = withAttributes(0x400);
    stat.setType(3);
    EXPECT_EQ(stat.attributes, 0x410U);
    stat.setType(1);
    EXPECT_EQ(stat.attributes, 0x400U);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, 0x401U);
    stat.setReadOnly(false);
    EXPECT_EQ(stat.attributes, 0x400U);
}

TEST(FileStatTest, SetReadOnlyKeepsTheRuleOfTheWord) {
    FileStat stat = withAttributes(128);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, 1U);
    stat.setReadOnly(false);
    EXPECT_EQ(stat.attributes, 128U);
    stat.setAttributes(16);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, 17U);
}

}  // namespace
