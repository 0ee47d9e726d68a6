#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/scopes/environmentscope.h"

namespace {

using namespace testing_support;

constexpr const char* NAME = "NBCC_ENVIRONMENTSCOPE_TEST";

/// Returns the system's own copy of the variable, or "(none)" if there is none.
std::string systemValue() {
    char buffer[64] = "";
    const DWORD length = GetEnvironmentVariableA(NAME, buffer, sizeof buffer);
    return length != 0 ? std::string(buffer, length) : "(none)";
}

TEST(EnvironmentScopeTest, TheSystemSeesTheVariableAsTheRuntimeDoes) {
    {
        const EnvironmentScope scope(NAME, "inner");
        EXPECT_EQ(systemValue(), "inner");
    }
    EXPECT_EQ(systemValue(), "(none)");
}

TEST(EnvironmentScopeTest, AnEmptyValueRemovesTheVariable) {
    const EnvironmentScope before(NAME, "before");
    {
        const EnvironmentScope scope(NAME, "");
        EXPECT_EQ(std::getenv(NAME), nullptr);
        EXPECT_EQ(systemValue(), "(none)");
    }
    EXPECT_EQ(systemValue(), "before");
}

}  // namespace
