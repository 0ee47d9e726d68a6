// ccdrives as a user runs it: a process of its own.

#include <algorithm>
#include <filesystem>
#include <optional>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/page.h"
#include "testing/processes/childprocess-win.h"
#include "testing/providers/registeredprovider-win.h"
#include "testing/registrydump-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"
#include "tools/ccdrives/providersetup-win.h"
#include "util/platform/unicodetext-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

std::string backslashed(std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

class CcdrivesTest : public testing::Test {
protected:
    void SetUp() override {
        if (!mOuter.problem().empty()) {
            GTEST_SKIP() << mOuter.problem();
        }
        removeProvider();
    }
    void TearDown() override { removeProvider(); }

    ChildRun ccdrives(Texts arguments) const {
        return {.program = testProgramFolder() / "ccdrives.exe",
                .arguments = std::move(arguments),
                .environment = {{"NBCLEARCASE_DRIVES", list()}}};
    }
    std::string list() const { return mFolder.utf8("drives.txt"); }

    /// Expects success, and returns the output.
    static std::string outputOf(const ChildRun& run) {
        const ChildResult result = runChild(run);
        EXPECT_EQ(result.exitCode, 0U);
        EXPECT_EQ(result.error, "");
        return result.output;
    }

    /// Expects exit code 2, nothing on standard output, and one line on standard error.
    static std::string problemOf(const ChildRun& run) {
        const ChildResult result = runChild(run);
        EXPECT_EQ(result.exitCode, 2U);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
        return result.error;
    }

    /// Returns whether the system reports the drive to a process with this list.
    static bool isConnected(const std::string& drive, const std::string& drives) {
        const ChildResult result = runChild({.program = testProgramFolder() / "listconnections.exe",
                                             .environment = {{"NBCLEARCASE_DRIVES", drives}}});
        return result.output.find("entry\t" + drive + "\t\\\\view") != std::string::npos;
    }

    TempFolder mFolder;

private:
    RegisteredProvider mOuter;  ///< restores the registry
};

TEST_F(CcdrivesTest, ADriveIsSeenFromInstallAndConnectOn) {
    EXPECT_EQ(outputOf(ccdrives({"connect", "m:", "\\\\view"})), "M: is connected with \\\\view\n");
    EXPECT_FALSE(isConnected("M:", list()));
    const std::string installed = outputOf(ccdrives({"install"}));
    EXPECT_TRUE(installed.starts_with("changes below HKEY_LOCAL_MACHINE")) << installed;
    EXPECT_TRUE(isConnected("M:", list()));
    EXPECT_EQ(outputOf(ccdrives({"list"})),
              "DRIVE  REMOTE NAME  PROVIDER\n"
              "M:     \\\\view       ClearCase Dynamic Views\n");
    EXPECT_EQ(outputOf(ccdrives({"disconnect", "M:"})), "M: is disconnected\n");
    EXPECT_FALSE(isConnected("M:", list()));
}

/// A provider of another program in the order, until the scope ends.
class OtherProvider {
public:
    OtherProvider() : mOrder(ccdrives::readProviderEntries().order) {
        using Kind = ccdrives::RegistryChange::Kind;
        const std::string key = std::string("Services\\") + service + "\\NetworkProvider";
        const std::string order = mOrder.value_or("").empty() ? "" : *mOrder + ",";
        ccdrives::apply(
            {{Kind::set, key, "Name", "Other Network", std::nullopt},
             {Kind::set, key, "ProviderPath", "C:\\other.dll", std::nullopt},
             {Kind::set, ccdrives::orderKey, ccdrives::orderValue, order + service, mOrder}});
    }
    ~OtherProvider() {
        const std::wstring services = L"SYSTEM\\CurrentControlSet\\Services\\";
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (services + toWide(service)).c_str());
        const std::wstring order = L"SYSTEM\\CurrentControlSet\\Control\\NetworkProvider\\Order";
        if (mOrder) {
            const std::wstring text = toWide(*mOrder);
            RegSetKeyValueW(HKEY_LOCAL_MACHINE, order.c_str(), L"ProviderOrder", REG_SZ,
                            text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
        } else {
            RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, order.c_str(), L"ProviderOrder");
        }
    }
    OtherProvider(const OtherProvider&) = delete;
    OtherProvider& operator=(const OtherProvider&) = delete;

private:
    static constexpr const char* service = "NbclearcaseOther";
    std::optional<std::string> mOrder;
};

/// Returns all that `install` and `remove` could have changed.
std::wstring networkProviders() {
    const std::wstring set = L"SYSTEM\\CurrentControlSet\\";
    return registryDump(set + L"Control\\NetworkProvider") +
           registryDump(set + L"Services\\NbclearcaseOther") +
           registryDump(set + L"Services\\NbclearcaseDrives");
}

TEST_F(CcdrivesTest, InstalledAndRemovedTwiceTheRegistryIsAsBefore) {
    const std::wstring alone = networkProviders();
    for (const bool isWithOther : {false, true}) {
        std::optional<OtherProvider> other;
        if (isWithOther) {
            other.emplace();
        }
        const std::wstring before = networkProviders();
        EXPECT_EQ(before == alone, !isWithOther);
        EXPECT_NE(outputOf(ccdrives({"install"})).find("ProviderOrder"), std::string::npos);
        const std::wstring installed = networkProviders();
        EXPECT_NE(installed, before);
        EXPECT_EQ(outputOf(ccdrives({"install"})), "installed already; nothing changes\n");
        EXPECT_EQ(networkProviders(), installed);
        EXPECT_NE(outputOf(ccdrives({"remove"})).find("ProviderOrder"), std::string::npos);
        EXPECT_EQ(networkProviders(), before);
        EXPECT_EQ(outputOf(ccdrives({"remove"})), "not installed; nothing changes\n");
        EXPECT_EQ(networkProviders(), before);
    }
}

TEST_F(CcdrivesTest, ProcessesSideBySideSeeTheirOwnDrives) {
    const std::string other = mFolder.write("other.txt", "X: | \\\\view\\other\n");
    outputOf(ccdrives({"install"}));
    outputOf(ccdrives({"connect", "Y:", "\\\\view\\mine"}));
    EXPECT_TRUE(isConnected("Y:", list()));
    EXPECT_FALSE(isConnected("X:", list()));
    EXPECT_TRUE(isConnected("X:", other));
    EXPECT_FALSE(isConnected("Y:", other));
}

TEST_F(CcdrivesTest, WithoutTheVariableTheListIsInTheUsersFolder) {
    ChildRun run = ccdrives({"connect", "M:", "\\\\view"});
    run.environment = {{"NBCLEARCASE_DRIVES", std::nullopt}, {"APPDATA", mFolder.utf8()}};
    outputOf(run);
    EXPECT_TRUE(exists(mFolder.path() / "nbclearcase" / "drives.txt"));
    run.environment["APPDATA"] = std::nullopt;
    EXPECT_EQ(problemOf(run),
              "ccdrives: there is no folder APPDATA for the list of drives; name a file by "
              "NBCLEARCASE_DRIVES\n");
}

TEST_F(CcdrivesTest, ListEndsWithOneIfProgramsCannotSeeTheDrives) {
    const ChildResult result = runChild(ccdrives({"list", "--json"}));
    EXPECT_EQ(result.exitCode, 1U);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error,
              "ccdrives: programs couldn't see drives of this list: the provider isn't installed; "
              "run ccdrives install as an administrator\n");
}

TEST_F(CcdrivesTest, AnotherProviderIsNamedByARelativePath) {
    mFolder.write("drives.txt", "M: | \\\\view\n");
    create_directory(mFolder.path() / "sub");
    copy_file(testProgramFolder() / "ccdrives_provider.dll", mFolder.path() / "sub" / "other.dll");
    ChildRun run = ccdrives({"install", "--library", "sub/other.dll"});
    run.folder = mFolder.path();
    outputOf(run);
    const std::string library = ccdrives::readProviderEntries().library.value_or("");
    EXPECT_TRUE(library.ends_with("\\sub\\other.dll")) << library;
    EXPECT_TRUE(isConnected("M:", list()));
}

TEST_F(CcdrivesTest, WithoutTheProviderBesideItInstallIsRefused) {
    copy_file(testProgramFolder() / "ccdrives.exe", mFolder.path() / "ccdrives.exe");
    ChildRun run = ccdrives({"install"});
    run.program = mFolder.path() / "ccdrives.exe";
    const std::string problem = problemOf(run);
    EXPECT_TRUE(problem.starts_with("ccdrives: there is no provider '")) << problem;
    EXPECT_TRUE(problem.ends_with("ccdrives_provider.dll'; name another by --library FILE\n"))
        << problem;
    EXPECT_FALSE(ccdrives::readProviderEntries().hasService);
}

TEST_F(CcdrivesTest, WhatIsNoProviderIsNotInstalled) {
    const std::string other = mFolder.write("text.dll", "no library");
    EXPECT_EQ(problemOf(ccdrives({"install", "--library", mFolder.utf8()})),
              "ccdrives: there is no provider '" + backslashed(mFolder.utf8()) +
                  "'; name another by --library FILE\n");
    EXPECT_EQ(problemOf(ccdrives({"install", "--library", other})),
              "ccdrives: '" + backslashed(other) +
                  "' is no network provider of 64-bit programs; name another by --library FILE\n");
    EXPECT_EQ(problemOf(ccdrives({"install", "--library", ""})),
              "ccdrives: --library: the name is empty; see ccdrives install --help\n");
    EXPECT_FALSE(ccdrives::readProviderEntries().hasService);
}

TEST_F(CcdrivesTest, DisconnectingNothingMakesNoFolder) {
    ChildRun run = ccdrives({"disconnect", "M:"});
    run.environment = {{"NBCLEARCASE_DRIVES", std::nullopt}, {"APPDATA", mFolder.utf8()}};
    EXPECT_EQ(outputOf(run), "M: isn't connected; nothing changes\n");
    run.arguments = {"connect", "M", "\\\\view"};
    EXPECT_NE(problemOf(run), "");
    EXPECT_FALSE(exists(mFolder.path() / "nbclearcase"));
}

TEST_F(CcdrivesTest, WhatIsNotDoneIsOneLine) {
    mFolder.write("drives.txt", "X: | \\\\view\\a\n");
    EXPECT_EQ(problemOf(ccdrives({"connect", "X:", "\\\\view\\b"})),
              "ccdrives: X: is connected with \\\\view\\a; disconnect it first\n");
    EXPECT_EQ(problemOf(ccdrives({"connect", "Y:", "\\\\view\\a\nb"})),
              "ccdrives: 'a\\nb' is no view tag; write one without \\, /, |, control characters "
              "and blanks at its ends\n");
    EXPECT_EQ(problemOf(ccdrives({"connect", "Y:"})),
              "ccdrives: REMOTENAME is required; see ccdrives connect --help\n");
    mFolder.write("drives.txt", "M: \\\\view\n");
    EXPECT_EQ(problemOf(ccdrives({"list"})),
              "ccdrives: " + utf8(mFolder.path() / "drives.txt") +
                  ":1: 'M: \\\\view' can't be understood; write DRIVE | REMOTENAME, or # before a "
                  "comment, in UTF-8\n");
}

TEST_F(CcdrivesTest, ALibrarySeesTheDrivesAsThePageShows) {
    outputOf(ccdrives({"install"}));
    outputOf(ccdrives({"connect", "M:", "\\\\view"}));
    outputOf(ccdrives({"connect", "X:", "\\\\view\\main_view"}));
    const std::string page = pageText("docs/drives.md");
    for (const Texts& arguments :
         {Texts{"drives"},
          Texts{"canonicalize", "--tag", "M:\\main_view\\vobs", "X:\\vobs\\gui\\main.c"}}) {
        ChildRun run = ccdrives(arguments);
        run.program = testProgramFolder() / "ccquery.exe";
        std::string shown = "> ccquery";
        for (const std::string& argument : arguments) {
            shown += ' ' + argument;
        }
        shown += '\n' + outputOf(run);
        EXPECT_NE(page.find(shown), std::string::npos) << shown;
    }
}

TEST_F(CcdrivesTest, HelpGoesToStandardOutput) {
    for (const Texts& arguments : {Texts{"--help"}, Texts{"connect", "--help"}}) {
        const std::string help = outputOf(ccdrives(arguments));
        EXPECT_NE(help.find("Usage: ccdrives"), std::string::npos) << help;
    }
}

TEST_F(CcdrivesTest, TheVersionSaysWhatTheProgramWasBuiltOf) {
    const std::string text = outputOf(ccdrives({"--version"}));
    EXPECT_TRUE(std::regex_match(text, std::regex(R"(ccdrives \d+\.\d+\.\d+
commit ([0-9a-f]{40}( with changes)?|unknown, since the sources were no git clone)
compiler GCC [0-9][-.0-9a-z]*, (msvcrt|ucrt)
)"))) << text;
    const std::string json = outputOf(ccdrives({"--json", "--version"}));
    EXPECT_TRUE(std::regex_match(
        json, std::regex(R"(\{"version":"[^"]+","commit":"[^"]+","compiler":"[^"]+"\}\n)")))
        << json;
}

TEST_F(CcdrivesTest, TheCompletionScriptHasNoCarriageReturns) {
    const std::string script = outputOf(ccdrives({"completion", "bash"}));
    EXPECT_TRUE(script.ends_with("\n\ncomplete -F _ccdrives ccdrives ccdrives.exe\n")) << script;
    EXPECT_EQ(script.find('\r'), std::string::npos);
}

}  // namespace
