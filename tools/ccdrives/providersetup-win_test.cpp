#include "tools/ccdrives/providersetup-win.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/providers/registeredprovider-win.h"
#include "testing/registrydump-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"

namespace {

using namespace ccdrives;
using namespace testing_support;
using Kind = RegistryChange::Kind;

/// A key for values of any kind, where nothing else is.
constexpr const char* testKey = "Services\\NbclearcaseDrivesTest";
constexpr const wchar_t* testPath = L"SYSTEM\\CurrentControlSet\\Services\\NbclearcaseDrivesTest";

constexpr const wchar_t* servicePath = L"SYSTEM\\CurrentControlSet\\Services\\NbclearcaseDrives";

using Texts = std::vector<std::string>;

bool exists(const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), /*ulOptions=*/0, KEY_READ, &key) !=
        ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(key);
    return true;
}

LSTATUS setValue(const std::wstring& path, const wchar_t* name, DWORD type,
                 const std::wstring& text) {
    return RegSetKeyValueW(HKEY_LOCAL_MACHINE, path.c_str(), name, type, text.c_str(),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

/// Returns the type of a value and, for a text, the text; of one that isn't there REG_NONE.
std::pair<DWORD, std::wstring> valueOf(const std::wstring& path, const wchar_t* name) {
    std::wstring text(1024, L'\0');
    auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    DWORD type = REG_NONE;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, path.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND, &type,
                     text.data(), &size) != ERROR_SUCCESS) {
        return {REG_NONE, {}};  // the call may have changed the type
    }
    return {type, text.substr(0, text.find(L'\0'))};
}

/// Returns the message of the exception, or "(none)".
template <class Step>
std::string problemOf(Step step) {
    try {
        step();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(none)";
}

class ProviderSetupTest : public testing::Test {
protected:
    void SetUp() override {
        if (!mOuter.problem().empty()) {
            GTEST_SKIP() << mOuter.problem();
        }
        removeProvider();
    }
    void TearDown() override {
        if (IsSkipped()) {
            return;  // what is there isn't ours
        }
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, testPath);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, servicePath);
        removeProvider();
    }

private:
    RegisteredProvider mOuter;  ///< restores the registry
};

TEST_F(ProviderSetupTest, WhatIsInstalledIsReadAndRemovedExactly) {
    const ProviderEntries before = readProviderEntries();
    EXPECT_FALSE(before.hasService);
    EXPECT_EQ(before.name, std::nullopt);
    apply(changesToInstall(before, "C:\\gr\xc3\xbcn.dll"));
    const ProviderEntries installed = readProviderEntries();
    EXPECT_TRUE(installed.hasService);
    EXPECT_TRUE(installed.hasOrderParentKey);
    EXPECT_TRUE(installed.hasOrderKey);
    EXPECT_EQ(installed.order, withOurService(before.order.value_or("")));
    EXPECT_EQ(installed.name, "ClearCase Dynamic Views");
    EXPECT_EQ(installed.library, "C:\\gr\xc3\xbcn.dll");
    EXPECT_EQ(changesToInstall(installed, "C:\\gr\xc3\xbcn.dll"), RegistryChanges());
    apply(changesToRemove(installed));
    const ProviderEntries after = readProviderEntries();
    EXPECT_EQ(after.hasOrderParentKey, before.hasOrderParentKey);
    EXPECT_EQ(after.hasOrderKey, before.hasOrderKey);
    EXPECT_EQ(after.order, before.order);
    EXPECT_FALSE(after.hasService);
    EXPECT_EQ(changesToRemove(after), RegistryChanges());
}

TEST_F(ProviderSetupTest, ATextKeepsItsType) {
    ASSERT_EQ(setValue(testPath, L"Expanded", REG_EXPAND_SZ, L"%a%"), ERROR_SUCCESS);
    apply({{Kind::set, testKey, "Expanded", "%b%", "%a%"},
           {Kind::set, std::string(testKey) + "\\Sub", "Plain", "%c%", std::nullopt}});
    EXPECT_EQ(valueOf(testPath, L"Expanded"),
              std::pair(DWORD{REG_EXPAND_SZ}, std::wstring(L"%b%")));
    EXPECT_EQ(valueOf(std::wstring(testPath) + L"\\Sub", L"Plain"),
              std::pair(DWORD{REG_SZ}, std::wstring(L"%c%")));
}

TEST_F(ProviderSetupTest, AKeyIsRemovedIfNothingIsInIt) {
    const RegistryChange removal{Kind::removeKey, testKey, "", "", std::nullopt};
    ASSERT_EQ(setValue(testPath, L"a", REG_SZ, L"b"), ERROR_SUCCESS);
    apply({removal});
    EXPECT_TRUE(exists(testPath)) << "it has a value";
    ASSERT_EQ(setValue(std::wstring(testPath) + L"\\Sub", L"a", REG_SZ, L"b"), ERROR_SUCCESS);
    apply({{Kind::removeValue, testKey, "a", "", "b"}, removal});
    EXPECT_TRUE(exists(testPath)) << "it has a key";
    EXPECT_EQ(valueOf(testPath, L"a").first, DWORD{REG_NONE});
    apply({{Kind::removeValue, std::string(testKey) + "\\Sub", "a", "", "b"},
           {Kind::removeKey, std::string(testKey) + "\\Sub", "", "", std::nullopt},
           removal});
    EXPECT_FALSE(exists(testPath));
}

TEST_F(ProviderSetupTest, WhatIsRemovedAlreadyIsNoError) {
    apply({{Kind::removeValue, testKey, "a", "", "b"},
           {Kind::removeKey, testKey, "", "", std::nullopt}});
    EXPECT_FALSE(exists(testPath));
}

TEST_F(ProviderSetupTest, AnotherProviderOfTheNameIsARival) {
    const ProviderEntries before = readProviderEntries();
    apply({{Kind::set, std::string(testKey) + "\\NetworkProvider", "Name",
            "ClearCase Dynamic Views", std::nullopt}});
    const auto orderOf = [&](const std::string& service) {
        return before.order.value_or("").empty() ? service : *before.order + "," + service;
    };
    const ProviderEntries installed = [&] {
        apply(changesToInstall(before, "C:\\a.dll"));
        return readProviderEntries();
    }();
    EXPECT_TRUE(installed.rivals.empty());
    apply({{Kind::set, orderKey, orderValue, orderOf("NbclearcaseDrivesTest,NoSuchService"),
            installed.order}});
    EXPECT_EQ(readProviderEntries().rivals, std::vector<std::string>{"NbclearcaseDrivesTest"});
    ASSERT_EQ(setValue(testPath + std::wstring(L"\\NetworkProvider"), L"Name", REG_BINARY, L"x"),
              ERROR_SUCCESS);
    EXPECT_TRUE(readProviderEntries().rivals.empty()) << "a name that is no text";
    apply({{Kind::set, orderKey, orderValue, *installed.order, readProviderEntries().order}});
}

TEST_F(ProviderSetupTest, WhatAnotherProgramChangedMeanwhileStays) {
    const std::string problem =
        std::string("another program has changed ") + testKey + ", a meanwhile";
    ASSERT_EQ(setValue(testPath, L"a", REG_SZ, L"theirs"), ERROR_SUCCESS);
    for (const RegistryChange& change :
         {RegistryChange{Kind::set, testKey, "a", "ours", "before"},
          RegistryChange{Kind::set, testKey, "a", "ours", std::nullopt},
          RegistryChange{Kind::removeValue, testKey, "a", "", "before"}}) {
        EXPECT_EQ(problemOf([&] { apply({change}); }), problem);
        EXPECT_EQ(valueOf(testPath, L"a").second, L"theirs");
    }
}

TEST_F(ProviderSetupTest, WhatOthersHaveInOurKeysIsFoundAndStays) {
    apply(changesToInstall(readProviderEntries(), "C:\\a.dll"));
    EXPECT_TRUE(readProviderEntries().hasProvider);
    EXPECT_TRUE(readProviderEntries().othersInService.empty());
    EXPECT_TRUE(readProviderEntries().othersInProvider.empty());
    const std::wstring service = servicePath;
    ASSERT_EQ(setValue(service, L"ImagePath", REG_SZ, L"theirs"), ERROR_SUCCESS);
    ASSERT_EQ(setValue(service + L"\\Parameters", L"", REG_SZ, L"theirs"), ERROR_SUCCESS);
    ASSERT_EQ(setValue(service + L"\\NetworkProvider", L"", REG_SZ, L"theirs"), ERROR_SUCCESS);
    const ProviderEntries entries = readProviderEntries();
    EXPECT_EQ(entries.othersInService, (Texts{"ImagePath", "Parameters"}));
    EXPECT_EQ(entries.othersInProvider, Texts{"(Default)"});
    EXPECT_EQ(changesToInstall(entries, "C:\\a.dll"), RegistryChanges());
    apply(changesToRemove(entries));
    EXPECT_EQ(valueOf(service, L"ImagePath").second, L"theirs");
    EXPECT_EQ(valueOf(service + L"\\Parameters", L"").second, L"theirs");
    EXPECT_EQ(valueOf(service + L"\\NetworkProvider", L"").second, L"theirs");
    EXPECT_EQ(valueOf(service + L"\\NetworkProvider", L"Name").first, DWORD{REG_NONE});
    EXPECT_EQ(changesToRemove(readProviderEntries()), RegistryChanges());
    EXPECT_EQ(
        problemOf([] { static_cast<void>(changesToInstall(readProviderEntries(), "C:\\a.dll")); }),
        "the service NbclearcaseDrives is another program's: it has 'ImagePath'; remove that "
        "program first, or what is left of it");
}

TEST_F(ProviderSetupTest, AnotherProgramsServiceOfOurNameStaysAsItIs) {
    const std::wstring provider = std::wstring(servicePath) + L"\\NetworkProvider";
    ASSERT_EQ(setValue(provider, L"Name", REG_SZ, L"Theirs"), ERROR_SUCCESS);
    ASSERT_EQ(setValue(provider, L"ProviderPath", REG_SZ, L"C:\\t.dll"), ERROR_SUCCESS);
    const std::wstring before = registryDump(servicePath);
    EXPECT_EQ(changesToRemove(readProviderEntries()), RegistryChanges());
    EXPECT_EQ(
        problemOf([] { static_cast<void>(changesToInstall(readProviderEntries(), "C:\\a.dll")); }),
        "the service NbclearcaseDrives is another program's: its provider is 'Theirs'; "
        "remove that program first, or what is left of it");
    EXPECT_EQ(registryDump(servicePath), before);
}

TEST_F(ProviderSetupTest, OurValuesAreKnownInAnyCase) {
    const std::wstring provider = std::wstring(servicePath) + L"\\networkprovider";
    ASSERT_EQ(setValue(provider, L"NAME", REG_SZ, L"ClearCase Dynamic Views"), ERROR_SUCCESS);
    ASSERT_EQ(setValue(servicePath, L"ordercreated", REG_SZ, L"ProviderOrder"), ERROR_SUCCESS);
    const ProviderEntries entries = readProviderEntries();
    EXPECT_TRUE(entries.othersInService.empty());
    EXPECT_TRUE(entries.othersInProvider.empty());
    EXPECT_EQ(entries.name, "ClearCase Dynamic Views");
}

TEST_F(ProviderSetupTest, APathWithVariablesIsExpandedForItsFileAlone) {
    const EnvironmentScope variable("NBCLEARCASE_TOOLS", "");
    SetEnvironmentVariableW(L"NBCLEARCASE_TOOLS", L"C:\\gr\u00fcn");
    const std::wstring provider = std::wstring(servicePath) + L"\\NetworkProvider";
    const std::wstring path = L"%NBCLEARCASE_TOOLS%\\p.dll";
    for (const auto& [type, file] :
         {std::pair(DWORD{REG_EXPAND_SZ}, std::string("C:\\gr\xc3\xbcn\\p.dll")),
          std::pair(DWORD{REG_SZ}, std::string("%NBCLEARCASE_TOOLS%\\p.dll"))}) {
        ASSERT_EQ(setValue(provider, L"ProviderPath", type, path), ERROR_SUCCESS);
        const ProviderEntries entries = readProviderEntries();
        EXPECT_EQ(entries.library, "%NBCLEARCASE_TOOLS%\\p.dll");
        EXPECT_EQ(entries.libraryFile, file);
    }
}

TEST(IsProviderTest, AProviderExportsWhatWindowsAsksFirst) {
    const TempFolder folder;
    EXPECT_TRUE(isProvider(utf8(testProgramFolder() / "ccdrives_provider.dll")));
    EXPECT_FALSE(isProvider(utf8(testProgramFolder() / "ccdrives.exe")));
    EXPECT_FALSE(isProvider(folder.write("text.dll", "no library")));
    EXPECT_FALSE(isProvider(folder.utf8("none.dll")));
}

TEST_F(ProviderSetupTest, AValueThatIsNoTextIsReported) {
    ASSERT_EQ(setValue(servicePath, L"OrderCreated", REG_BINARY, L"x"), ERROR_SUCCESS);
    EXPECT_EQ(problemOf([] { static_cast<void>(readProviderEntries()); }),
              "the value OrderCreated of HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\"
              "NbclearcaseDrives is no text; correct it first");
}

TEST(RequireAdministratorTest, WithoutTheRightsThereIsOneLine) {
    const ReplacedCall<decltype(RegOpenKeyExW)> refused(
        "RegOpenKeyExW",
        [](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    EXPECT_EQ(problemOf([] { requireAdministrator(); }),
              "the registry of the machine can't be changed by this user; run ccdrives as an "
              "administrator");
}

TEST(RequireAdministratorTest, AnotherFailureIsReportedAsItIs) {
    const ReplacedCall<decltype(RegOpenKeyExW)> refused(
        "RegOpenKeyExW",
        [](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) -> LSTATUS { return ERROR_BADDB; });
    expectFailedCall("RegOpenKeyEx", ERROR_BADDB, [] { requireAdministrator(); });
}

TEST(ReadProviderEntriesTest, EntriesThatCannotBeReadAreReportedWithAnAdvice) {
    const ReplacedCall<decltype(RegOpenKeyExW)> refused(
        "RegOpenKeyExW",
        [](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    const std::string problem = problemOf([] { static_cast<void>(readProviderEntries()); });
    EXPECT_TRUE(
        problem.starts_with("the entries of the network providers can't be read: RegOpenKeyEx: "))
        << problem;
    EXPECT_TRUE(problem.ends_with(" (5); try it as an administrator")) << problem;
}

TEST(RequireAdministratorTest, AskingForTheRightsChangesNothing) {
    static int keys;
    keys = 0;
    const ReplacedCall<decltype(RegOpenKeyExW)> counted(
        "RegOpenKeyExW", [](HKEY, LPCWSTR, DWORD, REGSAM access, PHKEY key) -> LSTATUS {
            EXPECT_EQ(access & static_cast<REGSAM>(~(KEY_CREATE_SUB_KEY | KEY_SET_VALUE)), 0U);
            ++keys;
            *key = nullptr;
            return ERROR_FILE_NOT_FOUND;
        });
    EXPECT_EQ(problemOf([] { requireAdministrator(); }), "(none)");
    EXPECT_EQ(keys, 2);
}

TEST_F(ProviderSetupTest, AChangeThatFailsEndsTheChanges) {
    const ReplacedCall<decltype(RegCreateKeyExW)> refused(
        "RegCreateKeyExW",
        [](HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY,
           LPDWORD) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    expectFailedCall("RegCreateKeyEx", ERROR_ACCESS_DENIED, [] {
        apply({{Kind::set, testKey, "a", "b", std::nullopt},
               {Kind::set, testKey, "c", "d", std::nullopt}});
    });
    EXPECT_FALSE(exists(testPath));
}

}  // namespace
