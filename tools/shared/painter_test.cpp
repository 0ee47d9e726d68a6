#include "tools/shared/painter.h"

#include <utility>

#include <gtest/gtest.h>

namespace {

using namespace tools;

TEST(PainterTest, EachColourEndsAfterItsText) {
    const std::pair<Colour, std::string> rows[] = {
        {Colour::place, "\x1b[1mtext\x1b[0m"},    {Colour::warning, "\x1b[1;35mtext\x1b[0m"},
        {Colour::error, "\x1b[1;31mtext\x1b[0m"}, {Colour::removed, "\x1b[31mtext\x1b[0m"},
        {Colour::added, "\x1b[32mtext\x1b[0m"},
    };
    for (const auto& [colour, painted] : rows) {
        EXPECT_EQ(Painter(true).paint(colour, "text"), painted);
        EXPECT_EQ(Painter(false).paint(colour, "text"), "text");
        EXPECT_EQ(Painter().paint(colour, "text"), "text");
    }
}

TEST(PainterTest, JsonAndNoColorForbidColours) {
    EXPECT_TRUE(mayPaint(false, ""));
    EXPECT_FALSE(mayPaint(true, ""));
    EXPECT_FALSE(mayPaint(false, "1"));
    EXPECT_FALSE(mayPaint(false, "0"));
    EXPECT_FALSE(mayPaint(true, "1"));
}

}  // namespace
