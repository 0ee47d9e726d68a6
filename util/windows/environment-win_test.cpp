#include "util/windows/environment-win.h"

#include <algorithm>
#include <cstddef>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace {

using namespace testing_support;

constexpr const wchar_t* name = L"NBCC_ENVIRONMENT_TEST";

std::optional<std::string> valueOf(const wchar_t* value) {
    SetEnvironmentVariableW(name, value);
    auto result = environmentVariable("NBCC_ENVIRONMENT_TEST");
    SetEnvironmentVariableW(name, nullptr);
    return result;
}

TEST(EnvironmentVariableTest, AVariableThatIsNotSetDiffersFromAnEmptyOne) {
    EXPECT_EQ(valueOf(nullptr), std::nullopt);
    EXPECT_EQ(valueOf(L""), "");
}

TEST(EnvironmentVariableTest, AValueIsUtf8) {
    EXPECT_EQ(valueOf(L"\x4E2D.ini"), "\xE4\xB8\xAD.ini");
}

TEST(EnvironmentVariableTest, AValueOfAnyLengthIsWhole) {
    for (const size_t length : {259U, 260U, 261U, 5000U}) {
        EXPECT_EQ(valueOf(std::wstring(length, L'x').c_str()), std::string(length, 'x'));
    }
}

TEST(EnvironmentVariableTest, AValueThatGrowsBetweenTwoCallsIsWhole) {
    const ReplacedCall<decltype(GetEnvironmentVariableW)> call(
        "GetEnvironmentVariableW", [](LPCWSTR, LPWSTR buffer, DWORD room) -> DWORD {
            if (room < 500) {
                return room < 300 ? 300 : 500;
            }
            std::fill_n(buffer, 499, L'g');
            return 499;
        });
    EXPECT_EQ(environmentVariable("ANY"), std::string(499, 'g'));
}

}  // namespace
