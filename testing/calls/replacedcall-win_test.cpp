#include "testing/calls/replacedcall-win.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

using namespace testing_support;

__attribute__((noinline)) DWORD processId() { return GetCurrentProcessId(); }

TEST(ReplacedCallTest, TheCallGoesToTheReplacementUntilTheScopeEnds) {
    const DWORD before = processId();
    {
        ReplacedCall<decltype(GetCurrentProcessId)> call("GetCurrentProcessId",
                                                         []() -> DWORD { return 42; });
        EXPECT_EQ(processId(), 42U);
        EXPECT_EQ(call.original()(), before);
    }
    EXPECT_EQ(processId(), before);
}

TEST(ReplacedCallTest, AFunctionThatTheModuleDoesNotImportIsAnError) {
    EXPECT_THROW(static_cast<void>(ReplacedCall<decltype(GetCurrentProcessId)>(
                     "NoSuchFunctionAnywhere", []() -> DWORD { return 42; })),
                 std::logic_error);
}

}  // namespace
