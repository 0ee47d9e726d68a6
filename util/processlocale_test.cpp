#include "util/processlocale.h"

#include <cstdlib>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "testing/scopes/environmentscope.h"

namespace {

const char* const unknown = "no_SUCH.locale";
const char* const utf8 = "C.UTF-8";

bool isKnown(const char* name) {
    try {
        return std::locale(name).name() == name;
    } catch (const std::runtime_error&) {
        return false;
    }
}

void printLocaleAndExit() {
    std::cerr << processLocale().name();
    std::exit(0);
}

void printLocaleUnderAnotherNameAndExit() {
    const testing_support::EnvironmentScope scope("NIMBREL_LOCALE", utf8);
    printLocaleAndExit();
}

// The locale is created at start-up, so a child process starts with the variable. All that the
// child writes must be the locale's name.
void expectLocaleOfAChild(const std::optional<std::string>& value, const std::string& name) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const testing_support::EnvironmentScope scope("NIMBREL_LOCALE", value);
    EXPECT_EXIT(printLocaleAndExit(), testing::ExitedWithCode(0), "^" + name + "$");
}

TEST(ProcessLocaleTest, NoNameGivesTheClassicLocale) {
    EXPECT_EQ(localeOrClassic(nullptr).name(), "C");
}

TEST(ProcessLocaleTest, ANameThatNoLocaleHasGivesTheClassicLocale) {
    EXPECT_EQ(localeOrClassic(unknown).name(), "C");
}

TEST(ProcessLocaleTest, ANameGivesItsLocaleWithAllCategories) {
    if (!isKnown(utf8)) {
        GTEST_SKIP() << "this C++ library knows no locale " << utf8;
    }
    // A locale of mixed categories has a name that lists them.
    EXPECT_EQ(localeOrClassic(utf8).name(), utf8);
}

TEST(ProcessLocaleTest, TheLocaleIsOneObjectForAllCallers) {
    EXPECT_EQ(&processLocale(), &processLocale());
}

TEST(ProcessLocaleDeathTest, WithoutTheVariableAProcessHasTheClassicLocaleAndSaysNothing) {
    expectLocaleOfAChild(std::nullopt, "C");
}

TEST(ProcessLocaleDeathTest, WithAnUnknownNameAProcessHasTheClassicLocaleAndSaysNothing) {
    expectLocaleOfAChild(unknown, "C");
}

TEST(ProcessLocaleDeathTest, ANameSetAfterStartUpChangesNothingEvenBeforeTheFirstCall) {
    if (!isKnown(utf8)) {
        GTEST_SKIP() << "this C++ library knows no locale " << utf8;
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const testing_support::EnvironmentScope scope("NIMBREL_LOCALE", std::nullopt);
    EXPECT_EXIT(printLocaleUnderAnotherNameAndExit(), testing::ExitedWithCode(0), "^C$");
}

TEST(ProcessLocaleDeathTest, WithAKnownNameAProcessHasThatLocale) {
    if (!isKnown(utf8)) {
        GTEST_SKIP() << "this C++ library knows no locale " << utf8;
    }
    expectLocaleOfAChild(utf8, "C.UTF-8");
}

}  // namespace
