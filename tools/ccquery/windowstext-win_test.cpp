#include "tools/ccquery/windowstext-win.h"

#include <gtest/gtest.h>

namespace {

using ccquery::systemErrorText;
using ccquery::toUtf8;
using ccquery::toWide;

TEST(WindowsTextTest, TextGoesToUtf8AndBack) {
    const std::pair<std::wstring, std::string> rows[] = {
        {L"", ""},
        {L"C:\\a", "C:\\a"},
        {L"\u00f6\u20ac", "\xc3\xb6\xe2\x82\xac"},
        {L"\xd83d\xde00", "\xf0\x9f\x98\x80"},
    };
    for (const auto& [wide, utf8] : rows) {
        EXPECT_EQ(toUtf8(wide), utf8);
        EXPECT_EQ(toWide(utf8), wide);
    }
}

TEST(WindowsTextTest, WhatIsNotValidBecomesAReplacementCharacter) {
    EXPECT_EQ(toUtf8(L"a\xd83d"), "a\xef\xbf\xbd");
    EXPECT_EQ(toWide("a\xff"), L"a\xfffd");
}

TEST(SystemErrorTextTest, AnErrorHasItsWordsAndItsNumberOnOneLine) {
    const std::string text = systemErrorText(2);
    EXPECT_TRUE(text.ends_with(" (error 2)")) << text;
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
}

TEST(SystemErrorTextTest, AnErrorWithoutWordsIsItsNumber) {
    EXPECT_EQ(systemErrorText(0x20000001), "error 536870913");
}

}  // namespace
