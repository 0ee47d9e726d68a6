#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/scopes/environmentscope.h"

namespace {

using namespace testing_support;

constexpr const char* name = "NBCC_ENVIRONMENTSCOPE_TEST";

/// Returns the system's own copy of the variable, or "(none)" if there is none.
std::string systemValue() {
    char buffer[64] = "";
    const DWORD length = GetEnvironmentVariableA(name, buffer, sizeof buffer);
    return length != 0 ? std::string(buffer, length) : "(none)";
}

TEST(EnvironmentScopeTest, TheSystemSeesTheVariableAsTheRuntimeDoes) {
    {
        const EnvironmentScope scope(name, "inner");
        EXPECT_EQ(systemValue(), "inner");
    }
    EXPECT_EQ(systemValue(), "(none)");
}

TEST(EnvironmentScopeTest, AnEmptyValueRemovesTheVariable) {
    const EnvironmentScope before(name, "before");
    {
        const EnvironmentScope scope(name, "");
        EXPECT_EQ(std::getenv(name), nullptr);
        EXPECT_EQ(systemValue(), "(none)");
    }
    EXPECT_EQ(systemValue(), "before");
}

}  // namespace
