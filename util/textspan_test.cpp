#include "util/textspan.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

TEST(StringSpanTest, ADefaultIsANullSpanWithoutLength) {
    const StringSpan span;
    EXPECT_EQ(span.data, nullptr);
    EXPECT_EQ(span.length, 0U);
    EXPECT_TRUE(span.view().empty());
}

TEST(StringSpanTest, ANullTextIsANullSpan) {
    const char* const text = nullptr;
    const StringSpan span(text);
    EXPECT_EQ(span.data, nullptr);
    EXPECT_EQ(span.length, 0U);
}

TEST(StringSpanTest, AnEmptyTextIsNoNullSpan) {
    const std::string text;
    EXPECT_NE(StringSpan("").data, nullptr);
    EXPECT_EQ(StringSpan("").length, 0U);
    EXPECT_NE(StringSpan(text).data, nullptr);
    EXPECT_EQ(StringSpan(text).length, 0U);
}

TEST(StringSpanTest, ATextReachesUpToItsTerminator) {
    const char text[] = "one\0two";
    const StringSpan span(text);
    EXPECT_EQ(span.data, text);
    EXPECT_EQ(span.length, 3U);
}

TEST(StringSpanTest, AStringAndAViewAreTakenWholeWithoutACopy) {
    const std::string text("one\0two", 7);
    const StringSpan span(text);
    EXPECT_EQ(span.data, text.data());
    EXPECT_EQ(span.length, 7U);
    const std::string_view part = std::string_view(text).substr(4);
    const StringSpan spanOfPart(part);
    EXPECT_EQ(spanOfPart.data, text.data() + 4);
    EXPECT_EQ(spanOfPart.length, 3U);
}

TEST(StringSpanTest, CharactersAreTakenByTheirCount) {
    const char* const text = "one two";
    const StringSpan span(text + 1, 4);
    EXPECT_EQ(span.data, text + 1);
    EXPECT_EQ(span.length, 4U);
    EXPECT_EQ(span.view(), "ne t");
}

TEST(WideSpanTest, ADefaultAndANullTextAreNullSpansWithoutLength) {
    const wchar_t* const text = nullptr;
    EXPECT_EQ(WideSpan().data, nullptr);
    EXPECT_EQ(WideSpan().length, 0U);
    EXPECT_EQ(WideSpan(text).data, nullptr);
    EXPECT_EQ(WideSpan(text).length, 0U);
}

TEST(WideSpanTest, TheLengthCountsUnits) {
    const std::wstring text(L"caf\x00E9\0x", 6);
    const WideSpan whole(text);
    EXPECT_EQ(whole.data, text.data());
    EXPECT_EQ(whole.length, 6U);
    EXPECT_EQ(WideSpan(text.c_str()).length, 4U);
    EXPECT_EQ(WideSpan(text.data() + 1, 2).data, text.data() + 1);
    EXPECT_EQ(WideSpan(text.data() + 1, 2).length, 2U);
}

TEST(PathRangeTest, ADefaultIsEmptyAtTheStart) {
    const PathRange range;
    EXPECT_EQ(range.begin, 0U);
    EXPECT_EQ(range.end, 0U);
    EXPECT_EQ(range.length(), 0U);
}

TEST(PathRangeTest, TheLengthIsFromTheBeginningToTheExclusiveEnd) {
    EXPECT_EQ((PathRange{3, 8}.length()), 5U);
    EXPECT_EQ((PathRange{4, 4}.length()), 0U);
}

TEST(PathRangeTest, RangesAreEqualIfBothEndsAre) {
    EXPECT_TRUE((PathRange{3, 8} == PathRange{3, 8}));
    EXPECT_FALSE((PathRange{3, 8} == PathRange{2, 8}));
    EXPECT_FALSE((PathRange{3, 8} == PathRange{3, 9}));
    EXPECT_FALSE((PathRange{3, 3} == PathRange{4, 4}));
}

}  // namespace
