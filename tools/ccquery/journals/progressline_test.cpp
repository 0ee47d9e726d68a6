#include "tools/ccquery/journals/progressline.h"

#include <memory>

#include <gtest/gtest.h>

namespace {

using namespace ccquery;
using namespace std::chrono_literals;

TEST(ProgressTextTest, BytesRateAndRestAreThere) {
    EXPECT_EQ(progressText(45'000'000, 100'000'000, 0.5), "45 MB of 100 MB, 90 MB/s, 1 s left");
    EXPECT_EQ(progressText(10'000'000, 100'000'000, 2), "10 MB of 100 MB, 5 MB/s, 19 s left");
}

TEST(ProgressTextTest, WhatIsNotKnownIsLeftOut) {
    EXPECT_EQ(progressText(45'000'000, 0, 1), "45 MB, 45 MB/s");
    EXPECT_EQ(progressText(0, 5'000'000, 1), "0 kB of 5 MB, 0 kB/s");
    EXPECT_EQ(progressText(5'000'000, 5'000'000, 0), "5 MB of 5 MB, 0 kB/s");
}

TEST(ProgressTextTest, LessThanAMegabyteIsInKilobytes) {
    EXPECT_EQ(progressText(8'000, 999'999, 2), "8 kB of 999 kB, 4 kB/s, 248 s left");
    EXPECT_EQ(progressText(999'999, 1'000'000, 1), "999 kB of 1 MB, 999 kB/s, 1 s left");
}

class ProgressLineTest : public testing::Test {
protected:
    void make(uint64_t total) {
        mLine = std::make_unique<ProgressLine>(
            total, [this](const std::string& text) { mWritten += text; }, [this] { return mNow; });
    }
    std::string mWritten;
    ProgressLine::Clock::time_point mNow{};
    std::unique_ptr<ProgressLine> mLine;
};

TEST_F(ProgressLineTest, NothingIsWrittenInTheFirstSecond) {
    make(100'000'000);
    mNow += 999ms;
    mLine->update(50'000'000);
    mLine.reset();
    EXPECT_EQ(mWritten, "");
}

TEST_F(ProgressLineTest, ItIsWrittenOverAndErasedAtTheEnd) {
    make(100'000'000);
    mNow += 1s;
    mLine->update(50'000'000);
    EXPECT_EQ(mWritten, "\r50 MB of 100 MB, 50 MB/s, 2 s left");
    mWritten.clear();
    mNow += 199ms;
    mLine->update(60'000'000);
    EXPECT_EQ(mWritten, "");
    mNow += 801ms;
    mLine->update(100'000'000);
    EXPECT_EQ(mWritten, "\r100 MB of 100 MB, 50 MB/s         ");
    mWritten.clear();
    mLine.reset();
    EXPECT_EQ(mWritten, '\r' + std::string(34, ' ') + '\r');
}

TEST_F(ProgressLineTest, AnErasedLineComesBack) {
    make(0);
    mNow += 1s;
    mLine->update(1'000'000);
    mLine->erase();
    mWritten.clear();
    mLine->erase();
    EXPECT_EQ(mWritten, "");
    mNow += 1s;
    mLine->update(4'000'000);
    EXPECT_EQ(mWritten, "\r4 MB, 2 MB/s");
}

TEST_F(ProgressLineTest, WithoutATerminalNothingIsWritten) {
    ProgressLine line(/*total=*/0, {}, [this] { return mNow; });
    mNow += 5s;
    line.update(1'000'000);
    line.erase();
    EXPECT_EQ(mWritten, "");
}

}  // namespace
