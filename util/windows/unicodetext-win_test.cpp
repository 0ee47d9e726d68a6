#include "util/windows/unicodetext-win.h"

#include <gtest/gtest.h>

namespace {

TEST(UnicodeTextTest, TextOutsideTheBasicPlaneGoesToUtf8AndBack) {
    const std::string utf8 = "a\xD0\xB6\xE4\xB8\xAD\xF0\x9F\x98\x80";
    const std::wstring wide = L"a\x0436\x4E2D\xD83D\xDE00";
    EXPECT_EQ(toUtf8(wide), utf8);
    EXPECT_EQ(toWide(utf8), wide);
}

}  // namespace
