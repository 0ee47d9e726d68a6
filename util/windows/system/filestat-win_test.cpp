#include "util/windows/system/filestat-win.h"

#include <cstddef>

#include <gtest/gtest.h>

namespace {

constexpr uint32_t readOnly = FILE_ATTRIBUTE_READONLY;
constexpr uint32_t systemFile = FILE_ATTRIBUTE_SYSTEM;
constexpr uint32_t directoryFile = FILE_ATTRIBUTE_DIRECTORY;
constexpr uint32_t deviceFile = FILE_ATTRIBUTE_DEVICE;
constexpr uint32_t normal = FILE_ATTRIBUTE_NORMAL;
constexpr uint32_t reparsePoint = FILE_ATTRIBUTE_REPARSE_POINT;

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

TEST(FileStatTest, TheFieldsAreInTheirOrder) {
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
    entry.dwFileAttributes = directoryFile | reparsePoint;
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
    EXPECT_EQ(stat.attributes, directoryFile);
}

TEST(FileStatTest, AListingEntryIsTakenWithoutItsReparseBit) {
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAW>()));
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAA>()));
}

TEST(FileStatTest, AListingEntryOfOnlyTheReparseBitHasNoAttributes) {
    WIN32_FIND_DATAW wide = {};
    wide.dwFileAttributes = reparsePoint;
    EXPECT_EQ(FileStat(wide).attributes, 0U);
    WIN32_FIND_DATAA narrow = {};
    narrow.dwFileAttributes = reparsePoint;
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
    other.attributes = readOnly;
    constexpr FileStat::CopyMask all = FileStat::copyCreated | FileStat::copyAccessed |
                                       FileStat::copyWritten | FileStat::copyAttributes;
    const FileStat::CopyMask masks[] = {0,
                                        FileStat::copyCreated,
                                        FileStat::copyAccessed,
                                        FileStat::copyWritten,
                                        FileStat::copyAttributes,
                                        all,
                                        ~all};
    for (const FileStat::CopyMask mask : masks) {
        SCOPED_TRACE(mask);
        FileStat stat;
        stat.attributes = normal;
        stat.copyFrom(other, mask);
        EXPECT_EQ(stat.device, 1U);
        EXPECT_EQ(stat.fileIndex, 2U);
        EXPECT_EQ(stat.size, 3U);
        EXPECT_EQ(stat.links, 4U);
        EXPECT_EQ(stat.created, (mask & FileStat::copyCreated) != 0 ? other.created : FileTime());
        EXPECT_EQ(stat.accessed,
                  (mask & FileStat::copyAccessed) != 0 ? other.accessed : FileTime());
        EXPECT_EQ(stat.written, (mask & FileStat::copyWritten) != 0 ? other.written : FileTime());
        EXPECT_EQ(stat.attributes, (mask & FileStat::copyAttributes) != 0 ? readOnly : normal);
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
        {normal, false, false, true, FileStat::typeFile},
        {readOnly, false, false, false, FileStat::typeFile},
        {systemFile, false, true, true, FileStat::typeFile},
        {systemFile | readOnly, false, true, false, FileStat::typeFile},
        {directoryFile, true, false, true, FileStat::typeDirectory},
        {directoryFile | readOnly, true, false, true, FileStat::typeDirectory},
        {reparsePoint, false, false, true, FileStat::typeLink},
        {reparsePoint | directoryFile, false, false, true, FileStat::typeLink},
        {reparsePoint | readOnly, false, false, false, FileStat::typeLink},
        {deviceFile, false, false, true, FileStat::typeFile},
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
    FileStat stat = withAttributes(directoryFile);
    stat.setLink();
    EXPECT_FALSE(stat.isDirectory());
    EXPECT_TRUE(stat.isNotDirectory());
    EXPECT_EQ(stat.type(), FileStat::typeLink);
    EXPECT_EQ(stat.attributes, reparsePoint | directoryFile);
    FileStat plain = withAttributes(normal);
    plain.setLink();
    EXPECT_EQ(plain.attributes, reparsePoint);
}

TEST(FileStatTest, SetAttributesSetsNormalForZeroAndDropsItBesideOthers) {
    const uint32_t rows[][2] = {{0, normal},
                                {normal | readOnly, readOnly},
                                {normal, normal},
                                {reparsePoint | directoryFile, reparsePoint | directoryFile},
                                {directoryFile, directoryFile}};
    for (const auto& row : rows) {
        FileStat stat;
        stat.setAttributes(row[0]);
        EXPECT_EQ(stat.attributes, row[1]);
    }
}

TEST(FileStatTest, SetTypeSetsTheDirectoryBitForADirectoryAndElseClearsIt) {
    FileStat stat;
    stat.setType(FileStat::typeDirectory);
    EXPECT_EQ(stat.attributes, directoryFile);
    stat.setType(FileStat::typeFile);
    EXPECT_EQ(stat.attributes, normal);
    stat.setAttributes(directoryFile | readOnly);
    stat.setType(FileStat::typeLink);
    EXPECT_EQ(stat.attributes, readOnly);
    stat.setAttributes(normal);
    stat.setType(FileStat::typeDirectory);
    EXPECT_EQ(stat.attributes, directoryFile);
}

TEST(FileStatTest, ALinkStaysOneWhateverElseIsSet) {
    FileStat stat = withAttributes(reparsePoint);
    stat.setType(FileStat::typeDirectory);
    EXPECT_EQ(stat.attributes, reparsePoint | directoryFile);
    stat.setType(FileStat::typeFile);
    EXPECT_EQ(stat.attributes, reparsePoint);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, reparsePoint | readOnly);
    stat.setReadOnly(false);
    EXPECT_EQ(stat.attributes, reparsePoint);
}

TEST(FileStatTest, SetReadOnlyKeepsTheRuleOfTheWord) {
    FileStat stat = withAttributes(normal);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, readOnly);
    stat.setReadOnly(false);
    EXPECT_EQ(stat.attributes, normal);
    stat.setAttributes(directoryFile);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, directoryFile | readOnly);
}

}  // namespace
