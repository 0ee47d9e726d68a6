#pragma once

#include <cctype>
#include <clocale>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "testing/scopes/environmentscope.h"

namespace testing_support {

/// In Latin-1 and in code page 1252.
constexpr unsigned char smallEAcute = 0xE9;
constexpr unsigned char capitalEAcute = 0xC9;

/// Where the locale lies that native builds compile for the tests, for the variable LOCPATH, which
/// the C library asks whenever it looks for a locale; no value on Windows.
std::optional<std::string> builtLocales();

/// The name of a locale of the C++ library in which these are letters, while LOCPATH is as above;
/// empty if there is none, as on Windows so far.
std::string eightBitLocale();

/// Until the scope ends, comparisons of narrow texts without case are those of the C runtime, and
/// go by its locale. A sanitizer's own, which native builds have otherwise, fold ASCII alone. One
/// at a time, and while no other thread compares.
class RuntimeComparisons {
public:
    RuntimeComparisons() { use(true); }
    ~RuntimeComparisons() { use(false); }
    RuntimeComparisons(const RuntimeComparisons&) = delete;
    RuntimeComparisons& operator=(const RuntimeComparisons&) = delete;

private:
    static void use(bool runtimes) noexcept;
};

/// Sets, for the test, a locale of the C runtime in which these are letters; where there is none
/// the test is skipped.
class EightBitLocaleTest : public testing::Test {
protected:
    EightBitLocaleTest() : mBefore(std::setlocale(LC_CTYPE, nullptr)) {}
    ~EightBitLocaleTest() override { std::setlocale(LC_CTYPE, mBefore.c_str()); }

    void SetUp() override {
        const EnvironmentScope locales("LOCPATH", builtLocales());
        for (const char* const name :
             {"English_United States.1252", "German_Germany.1252", "en_US.ISO-8859-1"}) {
            if (std::setlocale(LC_CTYPE, name) != nullptr && std::isalnum(smallEAcute) != 0) {
                return;
            }
        }
        GTEST_SKIP() << "the C runtime here has no locale of one byte a letter beyond ASCII";
    }

private:
    std::string mBefore;
};

}  // namespace testing_support
