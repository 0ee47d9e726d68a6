#include "tools/shared/systemerror-win.h"

#include <gtest/gtest.h>

namespace {

using tools::systemErrorText;

TEST(SystemErrorTextTest, AnErrorHasItsMessageAndItsNumberOnOneLine) {
    const std::string text = systemErrorText(2);
    EXPECT_TRUE(text.ends_with(" (error 2)")) << text;
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
}

TEST(SystemErrorTextTest, AnErrorWithoutAMessageIsItsNumber) {
    EXPECT_EQ(systemErrorText(0x20000001), "error 536870913");
}

}  // namespace
