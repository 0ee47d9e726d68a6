#include "util/platform/localmemory-win.h"

#include <vector>

#include <gtest/gtest.h>

#include "testing/calls/replacedcall-win.h"

namespace {

using namespace testing_support;

std::vector<void*> gFreed;

HLOCAL WINAPI keepFreed(HLOCAL memory) {
    gFreed.push_back(memory);
    return nullptr;
}

/// Frees outside of the test's own body, so that the replaced function is called.
template <class T>
__attribute__((noinline)) void ownAndDrop(T* memory) {
    const LocalMemory<T> owner(memory);
}

TEST(LocalMemoryTest, TheMemoryIsFreedWithLocalFreeAtTheEndOfTheScope) {
    const ReplacedCall<decltype(LocalFree)> call("LocalFree", keepFreed);
    gFreed.clear();
    wchar_t text[] = L"text";
    ownAndDrop(text);
    ownAndDrop<void>(text);
    EXPECT_EQ(gFreed, (std::vector<void*>{text, text}));
}

TEST(LocalMemoryTest, NullIsNotFreed) {
    const ReplacedCall<decltype(LocalFree)> call("LocalFree", keepFreed);
    gFreed.clear();
    ownAndDrop<void>(nullptr);
    EXPECT_TRUE(gFreed.empty());
}

}  // namespace
