#include "util/windows/system/filestat-win.h"

#include <cstddef>

#include <gtest/gtest.h>

namespace {

constexpr uint32_t READ_ONLY = FILE_ATTRIBUTE_READONLY;
constexpr uint32_t SYSTEM = FILE_ATTRIBUTE_SYSTEM;
constexpr uint32_t DIRECTORY = FILE_ATTRIBUTE_DIRECTORY;
constexpr uint32_t DEVICE = FILE_ATTRIBUTE_DEVICE;
constexpr uint32_t NORMAL = FILE_ATTRIBUTE_NORMAL;
constexpr uint32_t REPARSE_POINT = FILE_ATTRIBUTE_REPARSE_POINT;

TEST(FileStatTest, TheTypesAndTheBitsToCopyHaveTheirNumbers) {
    EXPECT_EQ(FileStat::typeFile, 1);
    EXPECT_EQ(FileStat::typeLink, 2);
    EXPECT_EQ(FileStat::typeDirectory, 3);
    EXPECT_EQ(FileStat::copyCreated, 1U);
    EXPECT_EQ(FileStat::copyAccessed, 2U);
    EXPECT_EQ(FileStat::copyWritten, 4U);
    EXPECT_EQ(FileStat::copyAttributes, 64U);
}

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
    entry.dwFileAttributes = DIRECTORY | REPARSE_POINT;
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
    EXPECT_EQ(stat.attributes, DIRECTORY);
}

TEST(FileStatTest, AListingEntryIsTakenWithoutItsReparseBit) {
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAW>()));
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAA>()));
}

TEST(FileStatTest, AListingEntryOfTheReparseBitAloneHasNoAttributes) {
    WIN32_FIND_DATAW wide = {};
    wide.dwFileAttributes = REPARSE_POINT;
    EXPECT_EQ(FileStat(wide).attributes, 0U);
    WIN32_FIND_DATAA narrow = {};
    narrow.dwFileAttributes = REPARSE_POINT;
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
    other.attributes = READ_ONLY;
    constexpr FileStat::CopyMask ALL = FileStat::copyCreated | FileStat::copyAccessed |
                                       FileStat::copyWritten | FileStat::copyAttributes;
    const FileStat::CopyMask masks[] = {0,
                                        FileStat::copyCreated,
                                        FileStat::copyAccessed,
                                        FileStat::copyWritten,
                                        FileStat::copyAttributes,
                                        ALL,
                                        ~ALL};
    for (const FileStat::CopyMask mask : masks) {
        SCOPED_TRACE(mask);
        FileStat stat;
        stat.attributes = NORMAL;
        stat.copyFrom(other, mask);
        EXPECT_EQ(stat.device, 1U);
        EXPECT_EQ(stat.fileIndex, 2U);
        EXPECT_EQ(stat.size, 3U);
        EXPECT_EQ(stat.links, 4U);
        EXPECT_EQ(stat.created, (mask & FileStat::copyCreated) != 0 ? other.created : FileTime());
        EXPECT_EQ(stat.accessed,
                  (mask & FileStat::copyAccessed) != 0 ? other.accessed : FileTime());
        EXPECT_EQ(stat.written, (mask & FileStat::copyWritten) != 0 ? other.written : FileTime());
        EXPECT_EQ(stat.attributes, (mask & FileStat::copyAttributes) != 0 ? READ_ONLY : NORMAL);
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
        FileStat::Type type;
    } rows[] = {
        {NORMAL, false, false, true, FileStat::typeFile},
        {READ_ONLY, false, false, false, FileStat::typeFile},
        {SYSTEM, false, true, true, FileStat::typeFile},
        {SYSTEM | READ_ONLY, false, true, false, FileStat::typeFile},
        {DIRECTORY, true, false, true, FileStat::typeDirectory},
        {DIRECTORY | READ_ONLY, true, false, true, FileStat::typeDirectory},
        {REPARSE_POINT, false, false, true, FileStat::typeLink},
        {REPARSE_POINT | DIRECTORY, false, false, true, FileStat::typeLink},
        {REPARSE_POINT | READ_ONLY, false, false, false, FileStat::typeLink},
        {DEVICE, false, false, true, FileStat::typeFile},
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
    FileStat stat = withAttributes(DIRECTORY);
    stat.setLink();
    EXPECT_FALSE(stat.isDirectory());
    EXPECT_TRUE(stat.isNotDirectory());
    EXPECT_EQ(stat.type(), FileStat::typeLink);
    EXPECT_EQ(stat.attributes, REPARSE_POINT | DIRECTORY);
    FileStat plain = withAttributes(NORMAL);
    plain.setLink();
    EXPECT_EQ(plain.attributes, REPARSE_POINT);
}

TEST(FileStatTest, SetAttributesKeepsTheWordFromZeroAndNormalAlone) {
    const uint32_t rows[][2] = {{0, NORMAL},
                                {NORMAL | READ_ONLY, READ_ONLY},
                                {NORMAL, NORMAL},
                                {REPARSE_POINT | DIRECTORY, REPARSE_POINT | DIRECTORY},
                                {DIRECTORY, DIRECTORY}};
    for (const auto& row : rows) {
        FileStat stat;
        stat.setAttributes(row[0]);
        EXPECT_EQ(stat.attributes, row[1]);
    }
}

TEST(FileStatTest, SetTypeSetsTheDirectoryBitForADirectoryAndElseClearsIt) {
    FileStat stat;
    stat.setType(FileStat::typeDirectory);
    EXPECT_EQ(stat.attributes, DIRECTORY);
    stat.setType(FileStat::typeFile);
    EXPECT_EQ(stat.attributes, NORMAL);
    stat.setAttributes(DIRECTORY | READ_ONLY);
    stat.setType(FileStat::typeLink);
    EXPECT_EQ(stat.attributes, READ_ONLY);
    stat.setAttributes(NORMAL);
    stat.setType(FileStat::typeDirectory);
    EXPECT_EQ(stat.attributes, DIRECTORY);
}

TEST(FileStatTest, ALinkStaysOneWhateverElseIsSet) {
    FileStat stat = withAttributes(REPARSE_POINT);
    stat.setType(FileStat::typeDirectory);
    EXPECT_EQ(stat.attributes, REPARSE_POINT | DIRECTORY);
    stat.setType(FileStat::typeFile);
    EXPECT_EQ(stat.attributes, REPARSE_POINT);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, REPARSE_POINT | READ_ONLY);
    stat.setReadOnly(false);
    EXPECT_EQ(stat.attributes, REPARSE_POINT);
}

TEST(FileStatTest, SetReadOnlyKeepsTheRuleOfTheWord) {
    FileStat stat = withAttributes(NORMAL);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, READ_ONLY);
    stat.setReadOnly(false);
    EXPECT_EQ(stat.attributes, NORMAL);
    stat.setAttributes(DIRECTORY);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, DIRECTORY | READ_ONLY);
}

}  // namespace
