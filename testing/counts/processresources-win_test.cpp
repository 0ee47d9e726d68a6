#include "testing/counts/processresources-win.h"

#include <cstring>
#include <memory>

#include <gtest/gtest.h>

#include <windows.h>

namespace {

using namespace testing_support;

TEST(ProcessResourcesTest, AHandleCountsUntilItIsClosed) {
    const size_t before = handleCount();
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    EXPECT_EQ(handleCount(), before + 1);
    CloseHandle(event);
    EXPECT_EQ(handleCount(), before);
}

TEST(ProcessResourcesTest, AnAllocationCountsUntilItIsFreed) {
    const size_t before = heapBytes();
    auto block = std::make_unique<char[]>(100000);
    std::memset(block.get(), 1, 100000);
    EXPECT_GE(heapBytes(), before + 100000);
    block.reset();
    EXPECT_LT(heapBytes(), before + 100000);
}

}  // namespace
