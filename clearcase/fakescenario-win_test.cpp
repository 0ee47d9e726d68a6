#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "clearcase/fakescenario.h"
#include "testing/calls/debugoutput-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/ownedhandle-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/threads/boundedthread.h"
#include "util/windows/environment-win.h"

namespace {

using namespace testing_support;

constexpr const wchar_t* fileVariable = L"NBCLEARCASE_FAKE_INI";
constexpr const wchar_t* rootVariable = L"CLEARCASE_ROOT";

// The example of the header.
TEST(BuildToolTest, ALinkLeadsToTheFileThatIsCheckedOut) {
    FakeScenario scenario;
    scenario.element("C:/src/a.c", elementCheckedOutFile).link("C:/src/l", "..\\src\\a.c");
    ClearCaseConnection& connection = scenario.connect();
    std::string target;
    EXPECT_EQ(connection.getElementStatus("C:/src/l", nullptr, &target), elementSymbolicLink);
    EXPECT_EQ(target, "C:/src/..\\src\\a.c");
    EXPECT_EQ(connection.getElementStatus(target.c_str(), nullptr, nullptr), elementCheckedOutFile);
}

/// The variable as the C runtime has it, or "-".
std::string inRuntime(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "-" : value;
}

std::string inSystem(const char* name) { return environmentVariable(name).value_or("-"); }

/// Expects the same value of the file's variable in both.
void expectFileVariable(const std::string& value) {
    EXPECT_EQ(inRuntime("NBCLEARCASE_FAKE_INI"), value);
    EXPECT_EQ(inSystem("NBCLEARCASE_FAKE_INI"), value);
}

void expectRootVariable(const std::string& value) {
    EXPECT_EQ(inRuntime("CLEARCASE_ROOT"), value);
    EXPECT_EQ(inSystem("CLEARCASE_ROOT"), value);
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int typeOf(ClearCaseConnection& connection, const char* path) {
    return connection.getElementStatus(path, nullptr, nullptr);
}

/// Has a temporary folder of its own, in which each test must leave nothing, and no variables.
class FakeScenarioTest : public testing::Test {
protected:
    ~FakeScenarioTest() override {
        EXPECT_TRUE(std::filesystem::is_empty(mFolder.path()));
        EXPECT_EQ(GetModuleHandleW(L"nbclearcase_fake.dll"), nullptr);
    }

    TempFolder mFolder;
    fakescenario::EnvironmentVariable mTemporary{L"TMP", mFolder.path().wstring()};
    fakescenario::EnvironmentVariable mNoFile{fileVariable, L""};
    fakescenario::EnvironmentVariable mNoRoot{rootVariable, L""};
};

TEST_F(FakeScenarioTest, TheFileHasWhatWasSaidAndIsRemoved) {
    std::filesystem::path file;
    {
        FakeScenario scenario;
        file = scenario.file();
        EXPECT_EQ(contentOf(file), "");
        scenario.element("C:/a", elementNull).link("C:/l", "x").vob("\\v").vob("\\w");
        FakeConfiguration said;
        said.element("C:/a", elementNull).link("C:/l", "x").vob("\\v").vob("\\w");
        EXPECT_EQ(contentOf(file), said.text());
        EXPECT_EQ(file.parent_path(), mFolder.path());
    }
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(FakeScenarioTest, TheVariablesAreSetForTheRuntimeAndTheSystem) {
    mNoRoot.set(L"M:\\my_view");
    {
        const FakeScenario scenario;
        expectFileVariable(fakescenario::utf8(scenario.file()));
        expectRootVariable("-");
    }
    expectFileVariable("-");
    expectRootVariable("M:\\my_view");
}

TEST_F(FakeScenarioTest, DifferentValuesOfRuntimeAndSystemAreRestored) {
    mNoFile.set(L"runtime.ini");
    SetEnvironmentVariableW(fileVariable, L"system.ini");
    { const FakeScenario scenario; }
    EXPECT_EQ(inRuntime("NBCLEARCASE_FAKE_INI"), "runtime.ini");
    EXPECT_EQ(inSystem("NBCLEARCASE_FAKE_INI"), "system.ini");
}

TEST_F(FakeScenarioTest, EmptyAndLongValuesOfTheSystemAreRestored) {
    for (const std::wstring& value : {std::wstring(), std::wstring(5000, L'x')}) {
        SetEnvironmentVariableW(fileVariable, value.c_str());
        { const FakeScenario scenario; }
        EXPECT_EQ(inSystem("NBCLEARCASE_FAKE_INI"), std::string(value.begin(), value.end()));
    }
}

TEST_F(FakeScenarioTest, AConnectionKnowsWhatWasSaidBeforeIt) {
    FakeScenario scenario;
    ClearCaseConnection& first = scenario.element("C:/a.c", elementVersion).connect();
    ClearCaseConnection& second = scenario.element("C:/a.c", elementCheckedOutFile).connect();
    EXPECT_EQ(typeOf(first, "C:\\a.c"), elementVersion);
    EXPECT_EQ(typeOf(second, "C:\\a.c"), elementCheckedOutFile);
    EXPECT_EQ(second.getError(), "");
}

TEST_F(FakeScenarioTest, TheVobsAreProbedBelowTheRoot) {
    FakeScenario scenario;
    ClearCaseConnection& connection = scenario.vob("\\no such vob").connect();
    std::vector<VobRecord> results;
    connection.probeVobs("c:", results);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].tag, "C:/no such vob");
}

/// The text in the system's code page; empty if that hasn't all of its characters.
std::string inCodePage(const std::wstring& text) {
    std::string narrow(text.size() * 4, '\0');
    BOOL isLossy = FALSE;
    // UTF-8 as the code page takes no flag, and has all characters.
    BOOL* const lossy = GetACP() == CP_UTF8 ? nullptr : &isLossy;
    narrow.resize(static_cast<size_t>(
        WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                            static_cast<int>(narrow.size()), /*lpDefaultChar=*/nullptr, lossy)));
    return isLossy != FALSE ? "" : narrow;
}

TEST_F(FakeScenarioTest, VobTagsAreInTheSystemsCodePage) {
    const std::wstring name = L"gr\u00fcn";
    const std::string tag = inCodePage(name);
    if (tag.empty()) {
        GTEST_SKIP() << "the code page " << GetACP() << " hasn't the letter of the test";
    }
    std::filesystem::create_directory(mFolder.path() / name);
    {
        FakeScenario scenario;
        std::vector<VobRecord> results;
        scenario.vob("\\" + tag).vob("\\gr\xc3\xbcn").connect().probeVobs(mFolder.utf8(), results);
        ASSERT_EQ(results.size(), 2U);
        EXPECT_EQ(results[0].state, vobWritable);
        EXPECT_EQ(results[1].state, GetACP() == CP_UTF8 ? vobWritable : vobNotDetermined);
    }
    std::filesystem::remove_all(mFolder.path() / name);
}

TEST_F(FakeScenarioTest, TextsOfElementsAreUtf8) {
    FakeScenario scenario;
    scenario.link("C:/gr\xc3\xbcn", "\xe4\xb8\xad");
    std::string target;
    EXPECT_EQ(scenario.connect().getElementStatus("C:\\gr\xc3\xbcn", nullptr, &target),
              elementSymbolicLink);
    EXPECT_EQ(target, "C:/\xe4\xb8\xad");
}

TEST_F(FakeScenarioTest, TheViewRootGivesTheTagAndTheSecondPaths) {
    FakeScenario scenario;
    ClearCaseConnection& connection =
        scenario.element("C:\\a.c", elementVersion).viewRoot("M:\\main_view").connect();
    expectRootVariable("M:\\main_view");
    EXPECT_EQ(connection.getViewTag(), "main_view");
    EXPECT_EQ(typeOf(connection, "M:\\main_viewC:\\a.c"), elementVersion);
    scenario.viewRoot("");
    expectRootVariable("-");
    EXPECT_EQ(connection.getViewTag(), "");
}

TEST_F(FakeScenarioTest, TheViewRootIsUtf8) {
    FakeScenario scenario;
    EXPECT_EQ(scenario.viewRoot("M:\\gr\xc3\xbcn\xe4\xb8\xad").connect().getViewTag(),
              "gr\xc3\xbcn\xe4\xb8\xad");
}

TEST_F(FakeScenarioTest, AViewRootThatIsNoValueIsRefused) {
    FakeScenario scenario;
    scenario.viewRoot("M:\\v");
    EXPECT_THROW(scenario.viewRoot(std::string("M:\\v\0w", 6)), std::invalid_argument);
    EXPECT_THROW(scenario.viewRoot(std::string(32767, 'x')), std::invalid_argument);
    for (const char* noUtf8 : {"M:\\gr\xfcn", "M:\\gr\xc3"}) {
        EXPECT_THROW(scenario.viewRoot(noUtf8), std::invalid_argument) << noUtf8;
    }
    expectRootVariable("M:\\v");
}

TEST_F(FakeScenarioTest, WhatCanNotBeSaidIsNotWritten) {
    FakeScenario scenario;
    EXPECT_THROW(scenario.element("a.c", elementVersion), std::invalid_argument);
    EXPECT_THROW(scenario.link("C:/l", "*"), std::invalid_argument);
    EXPECT_THROW(scenario.vob("#"), std::invalid_argument);
    EXPECT_EQ(contentOf(scenario.file()), "");
    EXPECT_EQ(scenario.connect().getError(), "");
}

std::string secondScenario() {
    try {
        const FakeScenario second;
    } catch (const std::logic_error& refusal) {
        return refusal.what();
    }
    return "accepted";
}

constexpr const char* onlyOne =
    "there is another FakeScenario, and the environment is one for all threads: end that scenario "
    "first";

TEST_F(FakeScenarioTest, ASecondScenarioIsRefusedUntilTheFirstEnds) {
    {
        FakeScenario first;
        EXPECT_EQ(secondScenario(), onlyOne);
        expectFileVariable(fakescenario::utf8(first.file()));
        EXPECT_EQ(typeOf(first.element("C:/a", elementNull).connect(), "C:\\a"), elementNull);
    }
    EXPECT_EQ(secondScenario(), "accepted");
}

TEST_F(FakeScenarioTest, AScenarioInAnotherThreadIsRefused) {
    const FakeScenario first;
    std::string answer;
    BoundedThread([&] { answer = secondScenario(); }).join();
    EXPECT_EQ(answer, onlyOne);
}

TEST_F(FakeScenarioTest, ALibraryThatIsMissingLeavesNothing) {
    mNoFile.set(L"mine.ini");
    try {
        const FakeScenario scenario("no such library.dll");
        ADD_FAILURE() << "it was loaded";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code().value(), ERROR_MOD_NOT_FOUND);
        EXPECT_EQ(std::string(failure.what()).rfind("no such library.dll can't be loaded: ", 0), 0U)
            << failure.what();
    }
    expectFileVariable("mine.ini");
    EXPECT_TRUE(std::filesystem::is_empty(mFolder.path()));
    EXPECT_EQ(secondScenario(), "accepted");
}

TEST_F(FakeScenarioTest, ALibraryOfAnotherKindLeavesNothing) {
    try {
        const FakeScenario scenario("kernel32.dll");
        ADD_FAILURE() << "it was taken";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(),
                     "kernel32.dll has no ClearCaseImplCtor; name a connection library");
    }
    expectFileVariable("-");
    EXPECT_EQ(secondScenario(), "accepted");
}

TEST_F(FakeScenarioTest, ALibraryWithAFolderIsLoadedFromThere) {
    const std::filesystem::path folder = testProgramFolder();
    const CurrentDirectory above(folder.parent_path());
    for (const std::filesystem::path& library :
         {folder / "nbclearcase_fake.dll",
          std::filesystem::path((folder / "nbclearcase_fake.dll").generic_wstring()),
          folder.filename() / "nbclearcase_fake.dll"}) {
        FakeScenario scenario(library);
        EXPECT_EQ(typeOf(scenario.element("C:/a", elementNull).connect(), "C:\\a"), elementNull);
    }
    EXPECT_THROW(FakeScenario(folder.parent_path() / "nbclearcase_fake.dll"), std::system_error);
}

TEST_F(FakeScenarioTest, TheTemporaryFolderMayHaveAnyName) {
    const std::filesystem::path folder = mFolder.path() / L"\u0436 \u4e2d";
    std::filesystem::create_directory(folder);
    {
        const fakescenario::EnvironmentVariable temporary(L"TMP", folder.wstring());
        FakeScenario scenario;
        EXPECT_EQ(scenario.file().parent_path(), folder);
        EXPECT_EQ(typeOf(scenario.element("C:/a", elementNull).connect(), "C:\\a"), elementNull);
    }
    EXPECT_TRUE(std::filesystem::remove(folder)) << "nothing is left in it";
}

TEST_F(FakeScenarioTest, WithoutATemporaryFolderThereIsNoScenario) {
    {
        const fakescenario::EnvironmentVariable temporary(L"TMP", L"C:\\no such folder");
        EXPECT_THROW(const FakeScenario scenario, std::system_error);
    }
    {
        const RefusedCall<decltype(GetTempFileNameW)> refused("GetTempFileNameW", ERROR_DISK_FULL);
        EXPECT_THROW(const FakeScenario scenario, std::system_error);
    }
    expectFileVariable("-");
    EXPECT_EQ(secondScenario(), "accepted");
}

/// Opens the file; `sharing` is what others may do with it.
OwnedHandle openFile(const std::filesystem::path& file, DWORD sharing) {
    const HANDLE handle =
        CreateFileW(file.c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(handle, INVALID_HANDLE_VALUE);
    return OwnedHandle(handle);
}

TEST_F(FakeScenarioTest, WhatCouldNotBeWrittenIsWrittenNextTime) {
    FakeScenario scenario;
    {
        const OwnedHandle alone = openFile(scenario.file(), 0);
        EXPECT_THROW(scenario.vob("\\a"), std::runtime_error);
    }
    EXPECT_EQ(contentOf(scenario.file()), "");
    scenario.vob("\\b");
    EXPECT_EQ(contentOf(scenario.file()), "[vobs]\n\\a=\n\\b=\n");
}

TEST_F(FakeScenarioTest, AnEnvironmentThatCanNotBeSetIsReported) {
    for (const int before : {0, 1}) {
        const DebugOutput debugger;
        {
            const RefusedCall<decltype(SetEnvironmentVariableW)> refused(
                "SetEnvironmentVariableW", ERROR_NOT_ENOUGH_MEMORY, before);
            EXPECT_THROW(const FakeScenario scenario, std::runtime_error);
        }
        // The variables whose values were set or tried: each is restored by the C runtime alone.
        EXPECT_EQ(debugger.texts(),
                  std::vector<std::string>(
                      static_cast<size_t>(before) + 1,
                      "FakeScenario: a variable of the environment isn't restored\n"));
        expectFileVariable("-");
    }
}

TEST_F(FakeScenarioTest, AFileThatCanNotBeRemovedIsReported) {
    const DebugOutput debugger;
    std::filesystem::path file;
    {
        OwnedHandle reader;
        {
            const FakeScenario scenario;
            file = scenario.file();
            reader = openFile(file, FILE_SHARE_READ | FILE_SHARE_WRITE);
        }
        EXPECT_EQ(debugger.texts(),
                  std::vector<std::string>{"FakeScenario: its temporary file can't be removed\n"});
    }
    EXPECT_TRUE(std::filesystem::remove(file));
}

bool gRefused = false;

TEST_F(FakeScenarioTest, AConnectionWithoutMemoryIsABadAllocation) {
    FakeScenario scenario;
    gRefused = false;
    static void* (*allocate)(size_t) = nullptr;
    {
        // Refuses the library the memory for the object.
        const ReplacedCall<void*(size_t)> call(
            "malloc",
            [](size_t size) -> void* {
                const bool refuse = !gRefused;
                gRefused = true;
                return refuse ? nullptr : allocate(size);
            },
            GetModuleHandleW(L"nbclearcase_fake.dll"));
        allocate = call.original();
        EXPECT_THROW(static_cast<void>(scenario.connect()), std::bad_alloc);
    }
    EXPECT_TRUE(scenario.connect().isReady());
}

}  // namespace
