#include "clearcase/configurationsource-win.h"

#include <optional>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/scopes/environmentscope.h"

namespace {

using testing_support::EnvironmentScope;

TEST(ConfigurationSourceTest, TheEnvironmentNamesTheFileAndTheViewRoot) {
    const EnvironmentScope file("NBCLEARCASE_FAKE_INI", "C:\\some where.ini");
    const EnvironmentScope root("CLEARCASE_ROOT", "M:\\view");
    EXPECT_EQ(configurationFile(), "C:\\some where.ini");
    EXPECT_EQ(viewRootPrefix(), "M:\\view");
}

TEST(ConfigurationSourceTest, AVariableThatIsEmptyCountsAsNotSet) {
    const EnvironmentScope file("NBCLEARCASE_FAKE_INI", std::nullopt);
    const EnvironmentScope root("CLEARCASE_ROOT", std::nullopt);
    EXPECT_EQ(configurationFile(), "nbclearcase_fake.ini");
    EXPECT_EQ(viewRootPrefix(), "");
    ASSERT_TRUE(SetEnvironmentVariableW(L"NBCLEARCASE_FAKE_INI", L""));
    ASSERT_TRUE(SetEnvironmentVariableW(L"CLEARCASE_ROOT", L""));
    EXPECT_EQ(configurationFile(), "nbclearcase_fake.ini");
    EXPECT_EQ(viewRootPrefix(), "");
}

}  // namespace
