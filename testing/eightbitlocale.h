#pragma once

#include <cctype>
#include <clocale>
#include <string>

#include <gtest/gtest.h>

namespace testing_support {

/// In Latin-1 and in code page 1252.
constexpr unsigned char smallEAcute = 0xE9;
constexpr unsigned char capitalEAcute = 0xC9;

/// Sets, for the test, a locale of the C runtime in which these are letters; where there is none
/// the test is skipped.
class EightBitLocaleTest : public testing::Test {
protected:
    EightBitLocaleTest() : mBefore(std::setlocale(LC_CTYPE, nullptr)) {}
    ~EightBitLocaleTest() override { std::setlocale(LC_CTYPE, mBefore.c_str()); }

    void SetUp() override {
        for (const char* const name :
             {"English_United States.1252", "German_Germany.1252", "en_US.ISO-8859-1",
              "de_DE.ISO-8859-1", "fr_FR.ISO-8859-1"}) {
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
