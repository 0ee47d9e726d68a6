// What a letter's case is in a locale of the C runtime other than "C".

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "testing/eightbitlocale.h"
#include "util/cruntime.h"
#include "util/pathcollation.h"
#include "util/processlocale.h"
#include "util/wildcard.h"

namespace {

using CaseLocaleTest = testing_support::EightBitLocaleTest;
using CaseLocaleDeathTest = testing_support::EightBitLocaleTest;

constexpr char SMALL = static_cast<char>(testing_support::smallEAcute);
constexpr char CAPITAL = static_cast<char>(testing_support::capitalEAcute);

void matchAndExit() {
    const std::string small(1, SMALL);
    const std::string capital(1, CAPITAL);
    const bool matches = wildcardMatch(small, capital) || wildcardMatch(capital, small) ||
                         wildcardMatch("[" + small + "]", capital);
    std::exit(matches ? 1 : 0);
}

// In a child, whose table of letters isn't made before its locale is set.
TEST_F(CaseLocaleDeathTest, WildcardsDoNotAskIt) {
    if (processLocale().name() != "C") {
        GTEST_SKIP() << "NIMBREL_LOCALE names a locale of its own";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(matchAndExit(), testing::ExitedWithCode(0), "");
}

TEST_F(CaseLocaleTest, CharactersOfPathsAreEqualByIt) {
    EXPECT_TRUE(pathCharsEqual(SMALL, CAPITAL));
    EXPECT_FALSE(pathCharsEqual(SMALL, 'e'));
}

TEST_F(CaseLocaleTest, ComparatorsOfContainersFoldByIt) {
    std::string small(1, SMALL);
    std::string capital(1, CAPITAL);
    if (cruntime::stricmp(small.c_str(), capital.c_str()) != 0) {
        GTEST_SKIP() << "the comparison here is a sanitizer's, which folds ASCII alone";
    }
    EXPECT_TRUE(StringNoCaseEqual()(small, capital));
    EXPECT_FALSE(StringNoCaseLess()(small, capital));
    EXPECT_FALSE(StringNoCaseLess()(capital, small));
    EXPECT_TRUE(SubstringNoCaseEqual()(Substring(small), Substring(capital)));
    EXPECT_FALSE(SubstringNoCaseLess()(Substring(small), Substring(capital)));
    EXPECT_FALSE(SubstringNoCaseLess()(Substring(capital), Substring(small)));
}

}  // namespace
