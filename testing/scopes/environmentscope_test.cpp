#include "testing/scopes/environmentscope.h"

#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace testing_support;

constexpr const char* name = "NBCC_ENVIRONMENTSCOPE_TEST";

std::optional<std::string> value() {
    const char* const found = std::getenv(name);
    return found != nullptr ? std::optional<std::string>(found) : std::nullopt;
}

TEST(EnvironmentScopeTest, AVariableIsSetUntilTheScopeEndsAndGoneThen) {
    ASSERT_EQ(value(), std::nullopt);
    {
        const EnvironmentScope scope(name, "inner text");
        EXPECT_EQ(value(), "inner text");
    }
    EXPECT_EQ(value(), std::nullopt);
}

TEST(EnvironmentScopeTest, TheValueBeforeComesBack) {
    const EnvironmentScope before(name, "before");
    {
        const EnvironmentScope scope(name, "x=1;y");
        EXPECT_EQ(value(), "x=1;y");
    }
    EXPECT_EQ(value(), "before");
}

TEST(EnvironmentScopeTest, NoValueRemovesTheVariableUntilTheScopeEnds) {
    const EnvironmentScope before(name, "before");
    {
        const EnvironmentScope scope(name, std::nullopt);
        EXPECT_EQ(value(), std::nullopt);
    }
    EXPECT_EQ(value(), "before");
}

}  // namespace
