#pragma once

#include <cctype>
#include <clocale>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "testing/scopes/environmentscope.h"

namespace testing_support {

/// The codes of the small and the capital E with an acute accent in Latin-1 and in code page 1252.
constexpr unsigned char smallEAcute = 0xE9;
constexpr unsigned char capitalEAcute = 0xC9;

/// Returns the folder of the locale that native builds compile for the tests. It is for the
/// variable LOCPATH, which the C library reads whenever it looks for a locale. No value on Windows.
std::optional<std::string> builtLocales();

/// Returns the name of a locale of the C++ library in which smallEAcute and capitalEAcute are
/// letters if LOCPATH is set as above. Empty if there is none, as on Windows so far.
std::string eightBitLocale();

/// Until the scope ends, comparisons of narrow texts that ignore case are those of the C runtime
/// and use its locale. Native builds otherwise have the sanitizer's comparisons, which fold only
/// ASCII. At most one object at a time, and only while no other thread compares.
class [[nodiscard]] RuntimeComparisons {
public:
    RuntimeComparisons() { use(true); }
    ~RuntimeComparisons() { use(false); }
    RuntimeComparisons(const RuntimeComparisons&) = delete;
    RuntimeComparisons& operator=(const RuntimeComparisons&) = delete;

private:
    static void use(bool runtimes) noexcept;
};

/// Sets a locale of the C runtime in which smallEAcute and capitalEAcute are letters, for the
/// duration of the test. If there is none, the test is skipped.
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
