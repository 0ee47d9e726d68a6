#include "tools/ccquery/lineeffects.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/linesremoved.h"

namespace {

using namespace testing_support;
using ccquery::ConfigurationLines;
using ccquery::lineEffects;

/// The numbers of the lines without effect.
std::vector<size_t> idle(const std::string& text, const std::string& prefix = "") {
    const std::vector<bool> effects = lineEffects(ConfigurationLines(text, prefix));
    std::vector<size_t> numbers;
    for (size_t i = 0; i < effects.size(); ++i) {
        if (!effects[i]) {
            numbers.push_back(i + 1);
        }
    }
    EXPECT_EQ(wrongFinding(text, prefix), "");
    return numbers;
}

using Numbers = std::vector<size_t>;

TEST(LineEffectsTest, VobsAndComplaintsAreEffects) {
    EXPECT_EQ(idle("[vobs]\n\\v=ro\n\\v=ro\nbad\n[attrs]\nbad\nC:\\a=x*no\nrel=x\n"), Numbers{});
}

TEST(LineEffectsTest, LinesThatAreNotReadHaveNone) {
    EXPECT_EQ(idle("x\n\n; c\n[vobs]\n\\v=\n[x]\ny\nz"), (Numbers{1, 2, 3, 7, 8}));
}

TEST(LineEffectsTest, AnElementHasOneIfItDecidesAndNoEarlierLineSaysTheSame) {
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\nC:\\a=y\nC:\\a=x\n"), (Numbers{2, 3}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\nC:\\a=x\n"), (Numbers{2, 3}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x*null\nC:\\a=x*version\n"), Numbers{2});
    EXPECT_EQ(idle("[attrs]\nC:\\a=x*null\nC:\\a=y*null\n"), Numbers{2});
}

TEST(LineEffectsTest, ASecondKeyIsAnEffectToo) {
    EXPECT_EQ(idle("[attrs]\nC:/a=x\nC:\\a=y\n", "M:\\v"), Numbers{});
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\nC:\\a=y\n", "M:\\v"), Numbers{2});
    EXPECT_EQ(
        idle("[attrs]\nA:\\B:\\x=1\nB:\\x=2\nA:\\B:\\x=3\nA:\\A:\\B:\\x=3\nB:\\x=2\n", "A:\\"),
        (Numbers{2, 3, 4}));
}

TEST(LineEffectsTest, AHeaderOfTheSectionThatIsCurrentHasNone) {
    EXPECT_EQ(idle("[vobs]\n\\v=\n[VOBS]\n\\w=\n"), Numbers{3});
    EXPECT_EQ(idle("[x]\n[vobs]\n\\v=\n"), Numbers{1});
}

TEST(LineEffectsTest, AHeaderHasOneIfItsLinesWouldReadOtherwise) {
    EXPECT_EQ(idle("[vobs]\n\\v=\n[x]\ny=\n"), Numbers{4});
    EXPECT_EQ(idle("[vobs]\n\\v=\n[attrs]\nbad\n"), Numbers{});
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[vobs]\n"), Numbers{3});
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[x]\nC:\\a=x\n"), (Numbers{3, 4}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[x]\nC:\\a=y\n"), Numbers{4});
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[x]\nC:\\a=y\nC:\\a=x\n"), (Numbers{3, 4, 5}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[x]\nC:\\b=y\n[attrs]\nC:\\b=z\n"), (Numbers{3, 4}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[x]\nC:\\b=y\n"), Numbers{4});
    for (const char* line : {"bad", "rel=x", "C:\\a=x*nul"}) {
        EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[x]\n" + std::string(line) + "\n"), Numbers{4});
    }
}

TEST(LineEffectsTest, AHeaderOfElementsHasOneIfOneOfThemHas) {
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[vobs]\nv=\n[attrs]\nC:\\a=x\n"), (Numbers{1, 2, 6}));
    // The last line decides, with or without the first header. Where it says what line 2 says, the
    // header in line 4 may go too.
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[y]\n[attrs]\nC:\\a=y\nC:\\a=x\n"), (Numbers{1, 2, 3, 4, 5}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n[y]\n[attrs]\nC:\\a=x\nC:\\a=y\n"), (Numbers{1, 2, 3, 5}));
}

TEST(LineEffectsTest, TheLineWithCtrlZHasOneIfItHidesLines) {
    EXPECT_EQ(idle("[vobs]\n\\v=\n\x1a"), Numbers{3});
    EXPECT_EQ(idle("[vobs]\n\\v=\n\x1a\n\\w=\n"), Numbers{4});
    EXPECT_EQ(idle("[vobs]\n\\v=\n\\x=\x1a\n\\w="), (Numbers{3, 4}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n\x1a\nrel=x\n"), Numbers{4});
    for (const char* line :
         {"C:\\a=y", "C:\\a=x*null", "C:\\b=x", "C:\\A=x", "bad", "[x]\n[vobs]\nv="}) {
        const auto numbers = idle("[attrs]\nC:\\a=x\n\x1a\n" + std::string(line) + "\n");
        EXPECT_EQ(std::count(numbers.begin(), numbers.end(), 3U), 0) << line;
    }
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n\x1a\n\x1a rel=x\n"), (Numbers{3, 4}));
    EXPECT_EQ(idle("[attrs]\nC:\\a=x\n\x1a\nC:\\a=x\n"), (Numbers{3, 4}));
}

/// Returns a file of up to `most` random lines. There are few different ones, so that they meet.
std::string randomFile(std::mt19937& random, size_t most) {
    const std::vector<std::string> lines = {
        "[attrs]\n",      "[attrs]\n",
        "[vobs]\n",       "[x]\n",
        "C:\\a=x\n",      "C:/a=x\n",
        "C:\\a=y\n",      "C:\\A=x\n",
        "C:\\b=x*null\n", "C:\\b=x*nul\n",
        "C:\\b=y*null\n", "M:\\C:\\a=x\n",
        "M:/C:\\a=x\n",   "M:\\C:\\a=y\n",
        "rel=x\n",        "bad\n",
        "\\v=ro\n",       "\n",
        "; c\n",          "\xef\xbb\xbf[attrs]\n",
        "\x1a",           "C:\\a=x",
    };
    std::string file;
    for (size_t count = random() % most; count > 0; --count) {
        // The last two end the file, or the line before another one.
        const size_t kinds = lines.size() - (random() % 10 == 0 ? 0 : 2);
        file += lines[random() % kinds];
    }
    return file;
}

TEST(LineEffectsTest, TheyAreThoseOfTakingOutEachLineOfARandomFile) {
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same files each time
    for (int i = 0; i < 3000; ++i) {
        const std::string file = randomFile(random, 16);
        const std::string prefix = i % 3 == 0 ? "" : i % 3 == 1 ? "M:\\" : "M:\\v";
        ASSERT_EQ(wrongFinding(file, prefix), "");
    }
}

}  // namespace
