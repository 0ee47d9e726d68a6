#include "testing/calls/debugoutput-win.h"

#include <gtest/gtest.h>

namespace {

using namespace testing_support;

__attribute__((noinline)) void tell(const char* text) { OutputDebugStringA(text); }

TEST(DebugOutputTest, EachCallIsOneTextInItsOrder) {
    const DebugOutput output;
    tell("one");
    tell("");
    EXPECT_EQ(output.texts(), (std::vector<std::string>{"one", ""}));
}

TEST(DebugOutputTest, ANewScopeStartsWithoutTexts) {
    {
        const DebugOutput output;
        tell("before");
    }
    const DebugOutput output;
    EXPECT_TRUE(output.texts().empty());
}

}  // namespace
