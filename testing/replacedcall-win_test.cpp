#include "testing/replacedcall-win.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

using testing_support::ReplacedCall;

TEST(ReplacedCallTest, TheCallGoesToTheReplacementUntilTheScopeEnds) {
    const DWORD before = GetCurrentProcessId();
    {
        ReplacedCall<decltype(GetCurrentProcessId)> call("GetCurrentProcessId",
                                                         []() -> DWORD { return 42; });
        EXPECT_EQ(GetCurrentProcessId(), 42U);
        EXPECT_EQ(call.original()(), before);
    }
    EXPECT_EQ(GetCurrentProcessId(), before);
}

TEST(ReplacedCallTest, AFunctionThatTheModuleDoesNotImportIsAnError) {
    EXPECT_THROW(ReplacedCall<decltype(GetCurrentProcessId)>("NoSuchFunctionAnywhere",
                                                             []() -> DWORD { return 42; }),
                 std::logic_error);
}

}  // namespace
