#include "testing/providers/registeredprovider-win.h"

#include <optional>

#include <gtest/gtest.h>

#include <windows.h>

namespace {

using namespace testing_support;

/// Returns a text of the registry, or nothing if the key or the value doesn't exist.
std::optional<std::wstring> registryText(const wchar_t* key, const wchar_t* value) {
    std::wstring text(1024, L'\0');
    auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key, value, RRF_RT_ANY | RRF_NOEXPAND,
                     /*pdwType=*/nullptr, text.data(), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return text.substr(0, text.find(L'\0'));
}

std::optional<std::wstring> order() {
    return registryText(L"SYSTEM\\CurrentControlSet\\Control\\NetworkProvider\\Order",
                        L"ProviderOrder");
}

/// Returns the order after the provider is entered.
std::wstring orderWithUs(const std::optional<std::wstring>& before) {
    return (before.value_or(L"").empty() ? L"" : *before + L",") + L"NbclearcaseDrives";
}

constexpr const wchar_t* providerKey =
    L"SYSTEM\\CurrentControlSet\\Services\\NbclearcaseDrives\\NetworkProvider";

std::optional<std::wstring> libraryPath() { return registryText(providerKey, L"ProviderPath"); }

bool keyExists(const wchar_t* path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, /*ulOptions=*/0, KEY_READ, &key) != ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(key);
    return true;
}

TEST(RegisteredProviderTest, TheRegistryNamesTheProviderUntilTheScopeEnds) {
    const RegisteredProvider outer;
    if (!outer.problem().empty()) {
        GTEST_SKIP() << outer.problem();
    }
    testing_support::removeProvider();
    const auto orderBefore = order();
    const auto pathBefore = libraryPath();
    {
        const RegisteredProvider provider(L"C:\\some\\provider.dll");
        ASSERT_EQ(provider.problem(), "");
        EXPECT_EQ(order(), orderWithUs(orderBefore));
        EXPECT_EQ(registryText(providerKey, L"Name"), L"ClearCase Dynamic Views");
        EXPECT_EQ(libraryPath(), L"C:\\some\\provider.dll");
    }
    EXPECT_EQ(order(), orderBefore);
    EXPECT_EQ(libraryPath(), pathBefore);
}

TEST(RegisteredProviderTest, WhatWasEnteredBeforeComesBack) {
    const RegisteredProvider outer(L"C:\\outer.dll");
    if (!outer.problem().empty()) {
        GTEST_SKIP() << outer.problem();
    }
    const auto orderBefore = order();
    {
        const RegisteredProvider inner(L"C:\\inner.dll");
        EXPECT_EQ(libraryPath(), L"C:\\inner.dll");
        EXPECT_EQ(order(), orderBefore);
    }
    EXPECT_EQ(order(), orderBefore);
    EXPECT_EQ(libraryPath(), L"C:\\outer.dll");
}

TEST(RegisteredProviderTest, KeysThatWereNotThereAreGoneAfterwards) {
    const RegisteredProvider outer;
    if (!outer.problem().empty()) {
        GTEST_SKIP() << outer.problem();
    }
    testing_support::removeProvider();
    {
        const RegisteredProvider inner;
        ASSERT_EQ(inner.problem(), "");
        EXPECT_TRUE(keyExists(L"SYSTEM\\CurrentControlSet\\Services\\NbclearcaseDrives"));
    }
    EXPECT_FALSE(keyExists(L"SYSTEM\\CurrentControlSet\\Services\\NbclearcaseDrives"));
    EXPECT_TRUE(keyExists(L"SYSTEM\\CurrentControlSet\\Services"));
}

TEST(RegisteredProviderTest, WhatCannotBeRestoredIsReported) {
    const RegisteredProvider outer;
    if (!outer.problem().empty()) {
        GTEST_SKIP() << outer.problem();
    }
    testing::internal::CaptureStderr();
    {
        const RegisteredProvider inner;
        EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, providerKey, L"Name", REG_BINARY, "x", 1),
                  ERROR_SUCCESS);
    }
    const std::string problem = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(
        problem.starts_with("the network provider stays as the test left it: the value "
                            "Name of "))
        << problem;
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, providerKey, L"Name");
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, providerKey, L"ProviderPath");
}

TEST(RegisteredProviderTest, TakingOutWhatIsNotThereChangesNothing) {
    const RegisteredProvider outer;
    if (!outer.problem().empty()) {
        GTEST_SKIP() << outer.problem();
    }
    testing_support::removeProvider();
    const auto orderBefore = order();
    testing_support::removeProvider();
    EXPECT_EQ(order(), orderBefore);
}

}  // namespace
