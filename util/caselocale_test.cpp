// The case of letters in a locale other than "C", set in the C runtime or for the process.

#include <cstdlib>
#include <locale>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "testing/scopes/eightbitlocale.h"
#include "testing/scopes/environmentscope.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"
#include "util/processlocale.h"
#include "util/stringedit.h"
#include "util/valueconversion.h"
#include "util/wildcard.h"

namespace {

using namespace testing_support;
using CaseLocaleTest = testing_support::EightBitLocaleTest;
using CaseLocaleDeathTest = testing_support::EightBitLocaleTest;

constexpr char smallE = static_cast<char>(testing_support::smallEAcute);
constexpr char capitalE = static_cast<char>(testing_support::capitalEAcute);

void matchAndExit() {
    const std::string small(1, smallE);
    const std::string capital(1, capitalE);
    const bool matches = wildcardMatch(small, capital) || wildcardMatch(capital, small) ||
                         wildcardMatch("[" + small + "]", capital);
    std::exit(matches ? 1 : 0);
}

// Runs in a child process, whose table of letters isn't built before its locale is set.
TEST_F(CaseLocaleDeathTest, WildcardsDoNotAskIt) {
    if (processLocale().name() != "C") {
        GTEST_SKIP() << "NIMBREL_LOCALE names a locale of its own";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(matchAndExit(), testing::ExitedWithCode(0), "");
}

void useProcessLocaleAndExit() {
    std::string small(1, smallE);
    std::string capital(1, capitalE);
    std::ostringstream narrowed;
    narrowed << std::wstring(1, wchar_t{testing_support::smallEAcute});
    int code = 0;
    code |= wildcardMatch(small, capital) && wildcardMatch(capital, small) ? 0 : 1;
    code |= narrowed.str() == small ? 0 : 2;
    toUpper(small);
    code |= small == capital ? 0 : 4;
    toLower(capital);
    code |= capital == std::string(1, smallE) ? 0 : 8;
    // Skips the check for leaks: the C library leaks the value of LOCPATH for each C++ locale.
    std::_Exit(code);
}

// Runs in a child process that starts with the variable.
TEST(ProcessLocaleDeathTest, CaseChangesWildcardsAndNarrowTextGoByIt) {
    const EnvironmentScope locales("LOCPATH", testing_support::builtLocales());
    const std::string name = testing_support::eightBitLocale();
    if (name.empty()) {
        GTEST_SKIP() << "the C++ library here has no locale of one byte a letter beyond ASCII";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const EnvironmentScope scope("NIMBREL_LOCALE", name);
    EXPECT_EXIT(useProcessLocaleAndExit(), testing::ExitedWithCode(0), "");
}

TEST_F(CaseLocaleTest, CharactersOfPathsAreEqualByIt) {
    EXPECT_TRUE(pathCharsEqual(smallE, capitalE));
    EXPECT_FALSE(pathCharsEqual(smallE, 'e'));
}

TEST_F(CaseLocaleTest, PathsLieInFoldersThatItFoldsAlike) {
    const std::string small = std::string("C:/") + smallE;
    const std::string capital = std::string("c:\\") + capitalE;
    EXPECT_TRUE(isInPath(small, capital + "/x"));
    EXPECT_TRUE(isInPath(capital, small));
    EXPECT_FALSE(isInPath(small, "C:/e"));
}

TEST_F(CaseLocaleTest, ComparatorsOfContainersFoldByIt) {
    const testing_support::RuntimeComparisons runtimes;
    std::string small(1, smallE);
    std::string capital(1, capitalE);
    EXPECT_TRUE(StringNoCaseEqual()(small, capital));
    EXPECT_FALSE(StringNoCaseLess()(small, capital));
    EXPECT_FALSE(StringNoCaseLess()(capital, small));
    EXPECT_TRUE(SubstringNoCaseEqual()(Substring(small), Substring(capital)));
    EXPECT_FALSE(SubstringNoCaseLess()(Substring(small), Substring(capital)));
    EXPECT_FALSE(SubstringNoCaseLess()(Substring(capital), Substring(small)));
}

}  // namespace
