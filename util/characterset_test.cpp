#include "util/characterset.h"

#include <gtest/gtest.h>

namespace {

TEST(CharacterSetTest, HoldsJustItsCharactersOfAllBytes) {
    const CharacterSet set(std::string_view("\0?@\x7f\x80\xff", 6));
    int count = 0;
    for (int c = 0; c < 256; ++c) {
        count += set.contains(static_cast<char>(c)) ? 1 : 0;
    }
    EXPECT_EQ(count, 6);
    for (const char c : {'\0', '?', '@', '\x7f', '\x80', '\xff'}) {
        EXPECT_TRUE(set.contains(c)) << static_cast<int>(c);
    }
}

TEST(CharacterSetTest, IsEmptyUntilACharacterIsAdded) {
    CharacterSet set;
    EXPECT_FALSE(set.contains('a'));
    set.add('a');
    EXPECT_TRUE(set.contains('a'));
}

TEST(CharacterSetTest, FindsTheFirstCharacterThatBelongsOrTheSize) {
    const CharacterSet set(",;");
    EXPECT_EQ(set.findIn("ab,;", 0), 2U);
    EXPECT_EQ(set.findIn("ab,;", 3), 3U);
    EXPECT_EQ(set.findIn("ab", 0), 2U);
    EXPECT_EQ(set.findIn("", 0), 0U);
}

TEST(CharacterSetTest, FindsTheFirstCharacterThatDoesNotBelongOrTheSize) {
    const CharacterSet set(",;");
    EXPECT_EQ(set.findNotIn(",;a", 0), 2U);
    EXPECT_EQ(set.findNotIn("a,", 0), 0U);
    EXPECT_EQ(set.findNotIn(",;", 0), 2U);
}

TEST(CharacterSetTest, AStartAfterTheTextIsTheResult) {
    const CharacterSet set(",;");
    EXPECT_EQ(set.findIn("a", 3), 3U);
    EXPECT_EQ(set.findNotIn("a", 3), 3U);
}

}  // namespace
