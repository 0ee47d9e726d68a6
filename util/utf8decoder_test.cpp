#include "util/utf8decoder.h"

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Units = std::vector<uint16_t>;

Units unitsOf(StringSpan text) {
    Units units;
    for (PathUnitCursor cursor(text); !cursor.atEnd(); cursor.next()) {
        units.push_back(cursor.unit);
    }
    return units;
}

TEST(PathUnitCursorTest, ValidTextIsItsUnits) {
    const struct {
        const char* text;
        Units units;
    } rows[] = {
        {"", {}},
        {"aZ", {'a', 'Z'}},
        {"\x7f", {0x7f}},
        {"\xC2\x80", {0x80}},
        {"\xDF\xBF", {0x7ff}},
        {"\xE0\xA0\x80", {0x800}},
        {"\xED\x9F\xBF", {0xd7ff}},
        {"\xEE\x80\x80", {0xe000}},
        {"\xEF\xBF\xBF", {0xffff}},
        {"\xF0\x90\x80\x80", {0xd800, 0xdc00}},
        {"\xF0\x9F\x98\x80x", {0xd83d, 0xde00, 'x'}},
        {"\xF4\x8F\xBF\xBF", {0xdbff, 0xdfff}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(unitsOf(row.text), row.units) << row.text;
    }
}

TEST(PathUnitCursorTest, ANulIsAUnit) {
    EXPECT_EQ(unitsOf(StringSpan("a\0b", 3)), (Units{'a', 0, 'b'}));
}

TEST(PathUnitCursorTest, EachBadByteIsAUnitOfItsOwn) {
    const struct {
        const char* text;
        Units units;
    } rows[] = {
        {"\x80", {0xdc80}},
        {"\xBF"
         "a",
         {0xdcbf, 'a'}},
        // Truncated by the end or by another byte.
        {"\xC3", {0xdcc3}},
        {"\xC3"
         "a",
         {0xdcc3, 'a'}},
        {"\xE4\xB8", {0xdce4, 0xdcb8}},
        {"\xF0\x9F\x98", {0xdcf0, 0xdc9f, 0xdc98}},
        {"\xE4\xB8\xC3\xA9", {0xdce4, 0xdcb8, 0xe9}},
        // Overlong.
        {"\xC0\x80", {0xdcc0, 0xdc80}},
        {"\xC1\xBF", {0xdcc1, 0xdcbf}},
        {"\xE0\x9F\xBF", {0xdce0, 0xdc9f, 0xdcbf}},
        {"\xF0\x8F\xBF\xBF", {0xdcf0, 0xdc8f, 0xdcbf, 0xdcbf}},
        // Not characters.
        {"\xED\xA0\x80", {0xdced, 0xdca0, 0xdc80}},
        {"\xED\xBF\xBF", {0xdced, 0xdcbf, 0xdcbf}},
        {"\xF4\x90\x80\x80", {0xdcf4, 0xdc90, 0xdc80, 0xdc80}},
        {"\xF7\xBF\xBF\xBF", {0xdcf7, 0xdcbf, 0xdcbf, 0xdcbf}},
        {"\xF8\x90\x80\x80", {0xdcf8, 0xdc90, 0xdc80, 0xdc80}},
        {"\xFF\xFE", {0xdcff, 0xdcfe}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(unitsOf(row.text), row.units) << testing::PrintToString(row.units);
    }
}

TEST(PathUnitCursorTest, PositionIsTheLastByteOfASequenceAndStaysForItsLowSurrogate) {
    const std::string text = "\xC3\xA9\xF0\x9F\x98\x80!";
    PathUnitCursor cursor(text);
    EXPECT_EQ(cursor.position, text.data() + 1);
    EXPECT_EQ(cursor.value, 0xe9U);
    cursor.next();
    EXPECT_EQ(cursor.position, text.data() + 5);
    EXPECT_EQ(cursor.value, 0x1f600U);
    EXPECT_EQ(cursor.unit, 0xd83d);
    cursor.next();
    EXPECT_EQ(cursor.position, text.data() + 5);
    EXPECT_EQ(cursor.value, 0xde00U);
    cursor.next();
    EXPECT_EQ(cursor.unit, '!');
    cursor.next();
    EXPECT_TRUE(cursor.atEnd());
    EXPECT_EQ(cursor.position, text.data() + text.size());
    EXPECT_EQ(cursor.value, 0xdc00U);
}

TEST(PathUnitCursorTest, ALowSurrogateThatLooksLikeTheEndMarkIsNoEnd) {
    PathUnitCursor cursor("\xF0\x90\x80\x80");
    cursor.next();
    EXPECT_EQ(cursor.value, PathUnitCursor::endMark);
    EXPECT_FALSE(cursor.atEnd());
    cursor.next();
    EXPECT_TRUE(cursor.atEnd());
}

TEST(PathUnitCursorTest, EveryCharacterIsItsUnits) {
    for (uint32_t value = 0; value <= 0x10ffff; ++value) {
        if (value >= 0xd800 && value <= 0xdfff) {
            continue;
        }
        std::string text;
        const auto tail = [&](unsigned shift) {
            text += static_cast<char>(0x80 | ((value >> shift) & 0x3f));
        };
        if (value < 0x80) {
            text += static_cast<char>(value);
        } else if (value < 0x800) {
            text += static_cast<char>(0xc0 | (value >> 6));
            tail(0);
        } else if (value < 0x10000) {
            text += static_cast<char>(0xe0 | (value >> 12));
            tail(6);
            tail(0);
        } else {
            text += static_cast<char>(0xf0 | (value >> 18));
            tail(12);
            tail(6);
            tail(0);
        }
        PathUnitCursor cursor(text);
        ASSERT_EQ(cursor.value, value);
        ASSERT_EQ(cursor.position, text.data() + text.size() - 1);
        const bool isPair = value >= 0x10000;
        ASSERT_EQ(cursor.unit, isPair ? 0xd800 + (value - 0x10000) / 1024 : value);
        ASSERT_FALSE(cursor.atEnd());
        cursor.next();
        if (isPair) {
            ASSERT_EQ(cursor.unit, 0xdc00 + (value - 0x10000) % 1024) << value;
            ASSERT_EQ(cursor.value, cursor.unit);
            ASSERT_EQ(cursor.position, text.data() + text.size() - 1);
            ASSERT_FALSE(cursor.atEnd());
            cursor.next();
        }
        ASSERT_TRUE(cursor.atEnd()) << value;
        ASSERT_EQ(cursor.position, text.data() + text.size());
    }
}

TEST(DecodePathUnitTest, AnAsciiByteIsItsOwnValueAndTheUnitStays) {
    for (uint32_t value = 0; value < 128; ++value) {
        const char text[] = {static_cast<char>(value), '\x80'};
        PathUnitCursor cursor(StringSpan("?", 1));
        cursor.position = text;
        cursor.end = text + 2;
        decodePathUnit(cursor);
        EXPECT_EQ(cursor.value, value);
        EXPECT_EQ(cursor.position, text);
        EXPECT_EQ(cursor.unit, '?');
    }
}

TEST(DecodePathUnitTest, AtTheEndTheValueIsTheEndMarkAndNothingIsRead) {
    const std::string text = "a";
    PathUnitCursor cursor(text);
    cursor.position = cursor.end;
    decodePathUnit(cursor);
    EXPECT_EQ(cursor.value, 0xdc00U);
    EXPECT_EQ(cursor.position, text.data() + 1);
    EXPECT_EQ(cursor.unit, 'a');
    PathUnitCursor empty(StringSpan(nullptr, 0));
    decodePathUnit(empty);
    EXPECT_EQ(empty.value, 0xdc00U);
    EXPECT_EQ(empty.position, nullptr);
}

TEST(DecodePathUnitTest, ASequenceIsItsCharacterAndABadByteAnEscape) {
    const struct {
        std::string text;
        uint32_t value;
        size_t last;  // index of the sequence's last byte
    } rows[] = {
        {"\xC3\xA9x", 0xe9, 1},
        {"\xE4\xB8\xADx", 0x4e2d, 2},
        {"\xF0\x9F\x98\x80x", 0x1f600, 3},
        {"\xF0\x9F\x98", 0xdcf0, 0},
        {"\xA9x", 0xdca9, 0},
        {"\xFFx", 0xdcff, 0},
    };
    for (const auto& row : rows) {
        PathUnitCursor cursor(StringSpan("?", 1));
        cursor.position = row.text.data();
        cursor.end = row.text.data() + row.text.size();
        decodePathUnit(cursor);
        EXPECT_EQ(cursor.value, row.value);
        EXPECT_EQ(cursor.position, row.text.data() + row.last);
        EXPECT_EQ(cursor.unit, '?');
    }
}

}  // namespace
