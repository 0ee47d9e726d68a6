#include "tools/shared/characters.h"

#include <gtest/gtest.h>

namespace {

using tools::characterCount;
using tools::continuesCharacter;

TEST(CharactersTest, ACharacterOfSeveralBytesCountsOnce) {
    EXPECT_EQ(characterCount(""), 0U);
    EXPECT_EQ(characterCount("a b"), 3U);
    EXPECT_EQ(characterCount("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"), 3U);
}

TEST(CharactersTest, TheBytesFrom80ToBfContinueACharacter) {
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(continuesCharacter(static_cast<char>(byte)), byte >= 0x80 && byte <= 0xbf)
            << byte;
    }
}

}  // namespace
