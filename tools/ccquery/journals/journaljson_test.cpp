#include "tools/ccquery/journals/journaljson.h"

#include <gtest/gtest.h>

namespace {

using namespace ccquery;

TEST(JournalJsonTest, TextThatIsUtf8IsAString) {
    EXPECT_EQ(journalJson("").dump(), R"("")");
    EXPECT_EQ(journalJson("a\n\xc3\xa9\xf0\x9f\x82\x80").dump(),
              "\"a\\n\xc3\xa9\xf0\x9f\x82\x80\"");
    // The low surrogate of this one looks like an escaped byte.
    EXPECT_EQ(journalJson("\xf0\x90\x82\x82").dump(), "\"\xf0\x90\x82\x82\"");
}

TEST(JournalJsonTest, OtherTextIsInHexadecimal) {
    EXPECT_EQ(journalJson("\xff").dump(), R"({"hex":"ff"})");
    EXPECT_EQ(journalJson("a\xc3").dump(), R"({"hex":"61c3"})");
    EXPECT_EQ(journalJson("\xed\xa0\x80").dump(), R"({"hex":"eda080"})");
}

TEST(JournalJsonTest, TheFieldsOfALineAreThoseOfItsOperation) {
    JournalLine line{.operation = Operation::lost};
    line.result.lines = 3;
    line.result.error = "full";
    line.result.path = "unused";
    EXPECT_EQ(argumentsJson(line).dump(), "{}");
    EXPECT_EQ(resultJson(line).dump(), R"({"error":"full","lines":3})");
    line.operation = Operation::connect;
    EXPECT_EQ(resultJson(line).dump(), R"({"CLEARCASE_ROOT":null})");
}

}  // namespace
