#include "tools/ccdrives/driveentry.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace ccdrives;

TEST(EntrySizeTest, ATextIsUtf16WithANullCharacterAtItsEnd) {
    EXPECT_EQ(entrySize({"M:", "\\\\view", "ab"}), 48U + 2 * (3 + 7 + 3));
    EXPECT_EQ(entrySize({"", "", ""}), 48U + 2 * 3);
}

TEST(EntrySizeTest, ANullPointerTakesNothingMore) {
    EXPECT_EQ(entrySize({std::nullopt, std::nullopt, std::nullopt}), 48U);
    EXPECT_EQ(entrySize({std::nullopt, "a", std::nullopt}), 48U + 4);
}

TEST(EntrySizeTest, CharactersAreOneUnitOrTwo) {
    const auto sizeOf = [](const std::string& text) {
        return entrySize({text, std::nullopt, std::nullopt}) - 48;
    };
    EXPECT_EQ(sizeOf("\xc3\xbc"), 4U) << "u with dots";
    EXPECT_EQ(sizeOf("\xe2\x82\xac"), 4U) << "the euro sign";
    EXPECT_EQ(sizeOf("\xf0\x9f\x98\x80"), 6U) << "beyond the first 65536 characters";
}

TEST(EntrySizeTest, TheTextsOfTheLongestEntryHave485Characters) {
    EXPECT_EQ(entrySize({"M:", std::string(483, 'a'), ""}), longestEntry);
}

}  // namespace
