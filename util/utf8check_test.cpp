#include "util/utf8check.h"

#include <string>

#include <gtest/gtest.h>

namespace {

/// Whether the Unicode Standard, table 3-7, has the sequence.
bool isWellFormed(const std::string& sequence) {
    const auto within = [&](size_t i, int low, int high) {
        const int byte = static_cast<unsigned char>(sequence[i]);
        return byte >= low && byte <= high;
    };
    const auto continues = [&](size_t i) { return within(i, 0x80, 0xbf); };
    switch (sequence.size()) {
        case 1:
            return within(0, 0x00, 0x7f);
        case 2:
            return within(0, 0xc2, 0xdf) && continues(1);
        case 3:
            return ((within(0, 0xe0, 0xe0) && within(1, 0xa0, 0xbf)) ||
                    (within(0, 0xe1, 0xec) && continues(1)) ||
                    (within(0, 0xed, 0xed) && within(1, 0x80, 0x9f)) ||
                    (within(0, 0xee, 0xef) && continues(1))) &&
                   continues(2);
        default:
            return ((within(0, 0xf0, 0xf0) && within(1, 0x90, 0xbf)) ||
                    (within(0, 0xf1, 0xf3) && continues(1)) ||
                    (within(0, 0xf4, 0xf4) && within(1, 0x80, 0x8f))) &&
                   continues(2) && continues(3);
    }
}

TEST(IsUtf8Test, SequencesAreValidAsTheStandardSays) {
    for (int first = 0; first < 256; ++first) {
        const std::string one(1, static_cast<char>(first));
        EXPECT_EQ(isUtf8(one), isWellFormed(one)) << first;
        if (first < 0xc0) {
            continue;  // what follows would be a sequence of its own
        }
        for (int second = 0x7f; second < 256; ++second) {
            const std::string two = one + static_cast<char>(second);
            for (const char* end :
                 {"", "\x80", "\xbf", "\xc0", "\x80\x80", "\xbf\xbf", "\x80\xc0"}) {
                const std::string text = two + end;
                EXPECT_EQ(isUtf8(text), isWellFormed(text)) << testing::PrintToString(text);
            }
        }
    }
}

TEST(IsUtf8Test, EveryPlaceInATextCounts) {
    EXPECT_TRUE(isUtf8(""));
    for (size_t length = 1; length < 40; ++length) {
        for (size_t place = 0; place < length; ++place) {
            std::string text(length, 'a');
            EXPECT_TRUE(isUtf8(text));
            text.replace(place, 1, "\xe2\x82\xac");
            EXPECT_TRUE(isUtf8(text)) << place;
            EXPECT_TRUE(isUtf8(text + text)) << place;
            text[place + 1] = 'b';
            EXPECT_FALSE(isUtf8(text)) << place;
        }
    }
}

}  // namespace
