#include "journal/lines.h"

#include <new>
#include <utility>

#include <gtest/gtest.h>

#include "testing/calls/fakesurroundings.h"

namespace {

using namespace testing_support;
using journal::CallLine;
using journal::JsonFields;
using journal::Lines;

class LinesTest : public testing::Test {
protected:
    void write(const std::string& operation) {
        CallLine line(operation);
        line.begin(mWritten.clock);
        line.addObject("arguments", [](JsonFields& fields) { fields.add("a", 1); });
        line.addObject("result", [](JsonFields& fields) { fields.add("b", 2); });
        line.end(mWritten.clock + 12'345);
        mLines.write(line);
    }

    WrittenJournal mWritten;
    FakeSurroundings mSurroundings{mWritten};
    Lines mLines{7, mSurroundings};
};

std::string line(uint64_t number, const std::string& rest) {
    return R"({"version":1,"time":"2026-01-31T23:59:59.123456Z","process":11,"thread":22,)"
           R"("connection":7,"call":)" +
           std::to_string(number) + "," + rest + "}\n";
}

const std::string ofCall =
    R"("operation":"getX","arguments":{"a":1},"result":{"b":2},"microseconds":12.345)";

TEST_F(LinesTest, ALineHasEveryField) {
    write("getX");
    EXPECT_EQ(mWritten.pieces, std::vector<std::string>{line(0, ofCall)});
}

TEST_F(LinesTest, TheLinesOfAConnectionAreNumbered) {
    write("getX");
    write("getX");
    EXPECT_EQ(mWritten.pieces, (std::vector<std::string>{line(0, ofCall), line(1, ofCall)}));
}

TEST_F(LinesTest, ALineThatFoundNoMemoryIsLost) {
    CallLine line("getX");
    line.addObject("arguments", [](JsonFields&) { throw std::bad_alloc(); });
    line.end(mWritten.clock);
    mLines.write(line);
    EXPECT_EQ(mWritten.complaints, std::vector<std::string>{"there is no memory for a line"});
    EXPECT_EQ(mWritten.pieces, std::vector<std::string>{});
    write("getX");
    EXPECT_NE(mWritten.pieces.at(0).find(R"("result":{"lines":1,"error":"there is no memory)"),
              std::string::npos);
}

TEST_F(LinesTest, ALineThatCannotBeAppendedForWantOfMemoryIsLost) {
    mWritten.hasMemory = false;
    write("getX");
    mWritten.hasMemory = true;
    EXPECT_EQ(mWritten.complaints, std::vector<std::string>{});
    write("getX");
    ASSERT_EQ(mWritten.pieces.size(), 2U);
    EXPECT_NE(mWritten.pieces[0].find(R"("result":{"lines":1,"error":""})"), std::string::npos);
    EXPECT_EQ(mWritten.pieces[1], line(1, ofCall));
}

TEST_F(LinesTest, ShortAndLongDurationsHaveThreeDigitsAfterThePoint) {
    const std::pair<int64_t, std::string> durations[] = {{0, "0.000"},
                                                         {1, "0.001"},
                                                         {999'999, "999.999"},
                                                         {INT64_MAX, "9223372036854775.807"},
                                                         // The clock was set back.
                                                         {-1, "0.000"}};
    for (const auto& [duration, text] : durations) {
        CallLine line("getX");
        line.end(duration);
        mLines.write(line);
        EXPECT_TRUE(mWritten.pieces.back().ends_with("\"microseconds\":" + text + "}\n"))
            << mWritten.pieces.back();
    }
}

TEST_F(LinesTest, TimesHaveTheirDigits) {
    mWritten.clock = 951'782'400'000'007'999;  // 2000-02-29
    write("getX");
    EXPECT_NE(mWritten.pieces.at(0).find("\"2000-02-29T00:00:00.000007Z\""), std::string::npos)
        << mWritten.pieces.at(0);
}

TEST_F(LinesTest, TheFirstLostLineOfAConnectionIsReported) {
    mWritten.failure = "the disk is full";
    write("getX");
    write("getX");
    EXPECT_EQ(mWritten.complaints, std::vector<std::string>{"the disk is full"});
    EXPECT_EQ(mWritten.pieces, std::vector<std::string>{});
}

TEST_F(LinesTest, LostLinesAreCountedOnceTheFileCanBeWritten) {
    write("getX");
    mWritten.failure = "the disk is full";
    write("getX");
    write("getX");
    mWritten.failure.clear();
    write("getX");
    write("getX");
    const std::string loss =
        R"("operation":"lost","arguments":{},"result":{"lines":2,"error":"the disk is full"},)"
        R"("microseconds":0.000)";
    EXPECT_EQ(mWritten.pieces, (std::vector<std::string>{line(0, ofCall), line(1, loss),
                                                         line(2, ofCall), line(3, ofCall)}));
}

}  // namespace
