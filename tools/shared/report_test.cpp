#include "tools/shared/report.h"

#include <utility>

#include <gtest/gtest.h>

namespace {

using tools::explainedText;
using tools::jsonText;
using tools::oneLine;
using tools::Report;
using tools::tabbedLine;
using tools::tableText;

Report table(tools::Row headings, std::vector<tools::Row> rows) {
    Report report;
    report.headings = std::move(headings);
    report.rows = std::move(rows);
    report.nothing = "nothing at all";
    return report;
}

TEST(ReportTest, AnExplanationIsIndentedBelowItsAnswer) {
    EXPECT_EQ(explainedText({"C:\\a", "version (1)", "/main/0", ""}, {"one", "two"}),
              "C:\\a  version (1)  /main/0\n    one\n    two\n");
    EXPECT_EQ(explainedText({"C:\\a", "", "b"}, {}), "C:\\a  -  b\n");
    EXPECT_EQ(explainedText({"", ""}, {}), "\n");
}

TEST(ReportTest, AnExplanationIsWrittenAsInATable) {
    EXPECT_EQ(explainedText({"a\n", "\xff"}, {"b\n\x1b", "\xff"}),
              "a\\n  \xef\xbf\xbd\n    b\\n\\x1b\n    \xef\xbf\xbd\n");
}

TEST(ReportTest, JsonIsAnObjectALineWithItsKeysInTheOrderGiven) {
    Report report;
    report.records = {{{"z", 1}, {"a", nullptr}}, {{"text", "x"}}};
    EXPECT_EQ(jsonText(report), "{\"z\":1,\"a\":null}\n{\"text\":\"x\"}\n");
}

TEST(ReportTest, JsonOfNothingIsNothing) { EXPECT_EQ(jsonText(Report()), ""); }

TEST(ReportTest, JsonKeepsTextAndEscapesWhatItMust) {
    Report report;
    report.records = {{{"text", "C:\\a \"b\"\n\x01 \xc3\xb6"}}};
    EXPECT_EQ(jsonText(report), "{\"text\":\"C:\\\\a \\\"b\\\"\\n\\u0001 \xc3\xb6\"}\n");
}

TEST(ReportTest, BytesThatAreNoUtf8BecomeReplacementCharactersInJson) {
    Report report;
    report.records = {{{"a\xff",
                        "b\xff"
                        "c"}}};
    EXPECT_EQ(jsonText(report),
              "{\"a\xef\xbf\xbd\":\"b\xef\xbf\xbd"
              "c\"}\n");
}

TEST(ReportTest, ALineOfTabsHasTheCellsOfATable) {
    EXPECT_EQ(tabbedLine({"a\tb", "", "c d"}), "a\\tb\t-\tc d\n");
    EXPECT_EQ(tabbedLine({"a"}), "a\n");
}

TEST(ReportTest, ColumnsAreTwoBlanksApartAndLinesEndWithoutBlanks) {
    EXPECT_EQ(tableText(table({"A", "LONGER", "C"}, {{"a value", "b", "c"}, {"x", "y", "zzzzz"}})),
              "A        LONGER  C\n"
              "a value  b       c\n"
              "x        y       zzzzz\n");
}

TEST(ReportTest, ATableWithoutHeadingsIsItsRows) {
    EXPECT_EQ(tableText(table({}, {{"name", "x"}, {"n", "y"}})), "name  x\nn     y\n");
}

TEST(ReportTest, RowsOfDifferentLengthsAreOneTable) {
    EXPECT_EQ(tableText(table({"A"}, {{"x", "y"}, {"value"}, {"x", "wide", "z"}})),
              "A\nx      y\nvalue\nx      wide  z\n");
}

TEST(ReportTest, ATableWithoutRowsSaysSo) {
    EXPECT_EQ(tableText(table({"A"}, {})), "nothing at all\n");
}

TEST(ReportTest, AnEmptyCellIsADash) {
    EXPECT_EQ(tableText(table({"A", "B"}, {{"", ""}})), "A  B\n-  -\n");
}

TEST(ReportTest, ACharacterOfSeveralBytesTakesOnePlace) {
    EXPECT_EQ(tableText(table({"A", "B"}, {{"\xc3\xb6\xe2\x82\xac", "x"}, {"abc", "y"}})),
              "A    B\n\xc3\xb6\xe2\x82\xac   x\nabc  y\n");
}

TEST(ReportTest, ControlCharactersAndInvalidBytesLeaveATableInForm) {
    EXPECT_EQ(tableText(table({"A", "B"}, {{"a\tb\n", "\x1b[31m\xff"}})),
              "A       B\na\\tb\\n  \\x1b[31m\xef\xbf\xbd\n");
}

TEST(OneLineTest, AMessageOfSeveralLinesBecomesOne) {
    EXPECT_EQ(oneLine("C:\\a\r\nb\x7f\xff"), "C:\\a\\r\\nb\\x7f\xef\xbf\xbd");
    EXPECT_EQ(oneLine(""), "");
}

TEST(OneLineTest, EveryControlCharacterIsEscaped) {
    EXPECT_EQ(oneLine(std::string("\0\x1f \x7f", 4)), "\\x00\\x1f \\x7f");
    // U+0080, U+009B, which begins a command of a terminal, U+009F, and U+00A0, which is none.
    EXPECT_EQ(oneLine("\xc2\x80|\xc2\x9b|\xc2\x9f|\xc2\xa0|\xc2"),
              "\\x80|\\x9b|\\x9f|\xc2\xa0|\xef\xbf\xbd");
}

}  // namespace
