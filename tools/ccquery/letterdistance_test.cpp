#include "tools/ccquery/letterdistance.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ccquery::letterDistance;
using ccquery::LetterSet;

TEST(LetterDistanceTest, EqualTextsHaveTheDistanceZero) {
    EXPECT_EQ(letterDistance("main.c", "main.c", 2), 0U);
    EXPECT_EQ(letterDistance("", "", 2), 0U);
    EXPECT_EQ(letterDistance("a", "a", 0), 0U);
}

TEST(LetterDistanceTest, AMissingAWrongAndASwappedLetterCountOneEach) {
    for (const char* other : {"mai.c", "ain.c", "main.", "maiin.c", "main.h", "mian.c"}) {
        EXPECT_EQ(letterDistance("main.c", other, 2), 1U) << other;
        EXPECT_EQ(letterDistance(other, "main.c", 2), 1U) << other;
    }
    for (const char* other : {"xmain.cx", "mian.h", "man.cx", "in.c", "mxin.h"}) {
        EXPECT_EQ(letterDistance("main.c", other, 2), 2U) << other;
        EXPECT_EQ(letterDistance(other, "main.c", 2), 2U) << other;
    }
}

TEST(LetterDistanceTest, AboveTheLimitTheDistanceIsOneMore) {
    EXPECT_EQ(letterDistance("main.c", "xmain.cx", 1), 2U);
    EXPECT_EQ(letterDistance("main.c", "readme", 2), 3U);
    EXPECT_EQ(letterDistance("main.c", "", 2), 3U);
    EXPECT_EQ(letterDistance("", "abc", 2), 3U);
    EXPECT_EQ(letterDistance("a", "b", 0), 1U);
    EXPECT_EQ(letterDistance(std::string(1000, 'a'), std::string(1000, 'b'), 2), 3U);
}

TEST(LetterDistanceTest, ALetterOfSeveralBytesCountsOnce) {
    EXPECT_EQ(letterDistance("gr\xc3\xbcn", "grun", 2), 1U);
    EXPECT_EQ(letterDistance("gr\xc3\xbcn", "gr\xc3\xb6n", 2), 1U);
    EXPECT_EQ(letterDistance("\xf0\x9f\x98\x80", "", 2), 1U);
    EXPECT_EQ(letterDistance("\xe2\x82\xac\xc3\xbc", "\xc3\xbc\xe2\x82\xac", 2), 1U);
}

TEST(LetterDistanceTest, AByteThatIsNoUtf8IsALetter) {
    EXPECT_EQ(letterDistance("\xff", "\xfe", 2), 1U);
    EXPECT_EQ(letterDistance("a\x80", "a", 2), 1U);
    EXPECT_EQ(letterDistance("\x80\x80\x80\x80\x80", "", 2), 2U) << "at most four bytes a letter";
}

/// The definition, without a limit.
size_t plainDistance(const std::string& a, const std::string& b) {
    std::vector<std::vector<size_t>> steps(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            const size_t other = a[i - 1] == b[j - 1] ? 0 : 1;
            steps[i][j] =
                std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + other});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
            }
        }
    }
    return steps[a.size()][b.size()];
}

TEST(LetterDistanceTest, RandomTextsHaveTheDistanceOfTheDefinition) {
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): reproducible
    const auto text = [&] {
        std::string result(random() % 8, 'a');
        for (char& letter : result) {
            letter = static_cast<char>('a' + random() % 3);
        }
        return result;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string a = text();
        const std::string b = text();
        for (size_t limit = 0; limit < 5; ++limit) {
            EXPECT_EQ(letterDistance(a, b, limit), std::min(plainDistance(a, b), limit + 1))
                << a << " " << b << " " << limit;
        }
    }
}

bool mayBeWithin(const std::string& a, const std::string& b, size_t limit) {
    return LetterSet(a).mayBeWithin(LetterSet(b), limit);
}

TEST(LetterSetTest, LettersThatOneTextLacksRuleItOut) {
    EXPECT_FALSE(mayBeWithin("main.c", "readme", 2));
    EXPECT_FALSE(mayBeWithin("file", "filexyz", 2));
    EXPECT_FALSE(mayBeWithin("filexyz", "file", 2));
    EXPECT_FALSE(mayBeWithin("a", "b", 0));
    EXPECT_FALSE(mayBeWithin("aa", "aaaaa", 2)) << "each counts";
    EXPECT_FALSE(mayBeWithin("", "\xc3\xbc\xc3\xb6\xc3\xa4", 2));
    EXPECT_TRUE(mayBeWithin("main.c", "nima.c", 0)) << "their order doesn't count";
}

TEST(LetterSetTest, NoTextWithinTheDistanceIsRuledOut) {
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): reproducible
    const std::vector<std::string> letters = {"a",   "b", "7", ".", "\xc3\xbc", "\xe2\x82\xac",
                                              "\xff"};
    const auto letter = [&] { return letters[random() % letters.size()]; };
    for (int i = 0; i < 20000; ++i) {
        std::string a;
        for (size_t length = random() % (i % 100 == 0 ? 600 : 20); length != 0; --length) {
            a += letter();
        }
        std::string b = a;
        const size_t edits = random() % 4;
        for (size_t edit = 0; edit < edits; ++edit) {
            b.replace(random() % (b.size() + 1), random() % 3, random() % 2 == 0 ? letter() : "");
        }
        for (size_t limit = 0; limit < 3; ++limit) {
            if (letterDistance(a, b, limit) <= limit) {
                EXPECT_TRUE(mayBeWithin(a, b, limit)) << a << " " << b << " " << limit;
                EXPECT_TRUE(mayBeWithin(b, a, limit)) << b << " " << a << " " << limit;
            }
        }
    }
}

}  // namespace
