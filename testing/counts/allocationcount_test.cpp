#include "testing/counts/allocationcount.h"

#include <new>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

using namespace testing_support;

// Stored where the compiler can't see that it is never read, so that no allocation is optimised
// away.
void* volatile gKept = nullptr;

template <class T>
void keepAndDelete(T* memory) {
    gKept = memory;
    delete memory;
}

TEST(AllocationCountTest, EachNewCountsOnce) {
    const size_t before = allocationCount();
    keepAndDelete(new int(1));
    EXPECT_EQ(allocationCount() - before, 1U);
    keepAndDelete(new int(2));
    EXPECT_EQ(allocationCount() - before, 2U);
}

TEST(AllocationCountTest, TheArrayAndTheNothrowFormsCountToo) {
    const size_t before = allocationCount();
    auto* const array = new int[100];
    gKept = array;
    delete[] array;
    EXPECT_EQ(allocationCount() - before, 1U);
    keepAndDelete(new (std::nothrow) int(1));
    EXPECT_EQ(allocationCount() - before, 2U);
}

TEST(AllocationCountTest, WhatTheStandardLibraryAllocatesCounts) {
    const size_t before = allocationCount();
    const std::string text(1000, 'x');
    gKept = const_cast<char*>(text.data());
    EXPECT_EQ(allocationCount() - before, 1U);
}

TEST(AllocationCountTest, DeletingDoesNotCount) {
    auto* const memory = new int(1);
    const size_t before = allocationCount();
    keepAndDelete(memory);
    EXPECT_EQ(allocationCount() - before, 0U);
}

TEST(LiveAllocationCountTest, WhatIsAllocatedCountsUntilItIsFreed) {
    const ptrdiff_t before = liveAllocationCount();
    auto* const memory = new int(1);
    auto* const array = new int[100];
    gKept = memory;
    gKept = array;
    EXPECT_EQ(liveAllocationCount() - before, 2);
    delete memory;
    EXPECT_EQ(liveAllocationCount() - before, 1);
    delete[] array;
    EXPECT_EQ(liveAllocationCount(), before);
}

TEST(AllocationCountTest, OtherThreadsCountAsWell) {
    const size_t before = allocationCount();
    std::thread([] {
        for (int i = 0; i < 1000; ++i) {
            keepAndDelete(new int(i));
        }
    }).join();
    EXPECT_GE(allocationCount() - before, 1000U);
}

}  // namespace
