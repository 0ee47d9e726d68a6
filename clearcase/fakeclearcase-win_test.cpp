#include <memory>
#include <optional>
#include <stdexcept>

#include <gtest/gtest.h>

#include <windows.h>

#include "clearcase/fakeclearcase.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

/// Makes a folder the current directory, and sets the process to no view and no file.
class FakeClearCaseTest : public testing::Test {
protected:
    FakeClearCaseTest() : mBefore(System::getcwd()) {
        SetCurrentDirectoryW(toWide(mFolder.utf8()).c_str());
    }
    ~FakeClearCaseTest() override { SetCurrentDirectoryW(toWide(mBefore).c_str()); }

    /// Makes a connection with this text as its configuration, in a new file.
    std::unique_ptr<FakeClearCase> connect(const std::string& text) {
        const EnvironmentScope named("NBCLEARCASE_FAKE_INI", mFolder.write("own.ini", text));
        return std::make_unique<FakeClearCase>(nullptr);
    }

    std::string write(const std::string& name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
        std::string path = mFolder.write(name, "x");
        SetFileAttributesW(System::unicodePath(path).c_str(), attributes);
        return path;
    }

    TempFolder mFolder;
    std::string mBefore;
    EnvironmentScope mNoFile{"NBCLEARCASE_FAKE_INI", std::nullopt};
    EnvironmentScope mNoView{"CLEARCASE_ROOT", std::nullopt};
};

using FakeClearCaseDeathTest = FakeClearCaseTest;

constexpr const char* oneError = "[vobs]\nbad\n";
constexpr const char* itsText = "Invalid line in [vobs]:  bad\n";

TEST_F(FakeClearCaseTest, WithoutAFileThereAreNoElementsAndNoComplaints) {
    FakeClearCase connection(nullptr);
    EXPECT_EQ(connection.getError(), "");
    EXPECT_EQ(connection.getElementStatus("C:\\missing\\x", nullptr, nullptr), elementViewPrivate);
}

TEST_F(FakeClearCaseTest, TheFileOfTheDefaultNameLiesInTheCurrentDirectory) {
    mFolder.write("nbclearcase_fake.ini", oneError);
    EXPECT_EQ(FakeClearCase(nullptr).getError(), itsText);
}

TEST_F(FakeClearCaseTest, TheVariableNamesAnotherFileAsItIs) {
    mFolder.write("nbclearcase_fake.ini", oneError);
    mFolder.write("other.ini", "[vobs]\nworse\n");
    const EnvironmentScope named("NBCLEARCASE_FAKE_INI", "other.ini");
    EXPECT_EQ(FakeClearCase(nullptr).getError(), "Invalid line in [vobs]:  worse\n");
}

TEST_F(FakeClearCaseTest, AVariableThatNamesNoFileLeavesNothing) {
    mFolder.write("nbclearcase_fake.ini", oneError);
    for (const std::string& name : {mFolder.utf8("missing"), mFolder.utf8()}) {
        const EnvironmentScope named("NBCLEARCASE_FAKE_INI", name);
        EXPECT_EQ(FakeClearCase(nullptr).getError(), "") << name;
    }
}

TEST_F(FakeClearCaseTest, EmptyVariablesCountAsNone) {
    mFolder.write("nbclearcase_fake.ini", std::string(oneError) + "[attrs]\nC:/a/../x=*null\n");
    SetEnvironmentVariableW(L"NBCLEARCASE_FAKE_INI", L"");
    SetEnvironmentVariableW(L"CLEARCASE_ROOT", L"");
    FakeClearCase connection(nullptr);
    EXPECT_EQ(connection.getError(), itsText);
    EXPECT_EQ(connection.getElementStatus("C:\\x", nullptr, nullptr), elementNull);
}

TEST_F(FakeClearCaseTest, AFileMayHaveANameOfAnyPlane) {
    const std::string name = "\xD0\xB6\xE4\xB8\xAD\xF0\x9F\x98\x80.ini";
    mFolder.write(name, oneError);
    SetEnvironmentVariableW(L"NBCLEARCASE_FAKE_INI", toWide(name).c_str());
    EXPECT_EQ(FakeClearCase(nullptr).getError(), itsText);
}

TEST_F(FakeClearCaseTest, TheFileIsReadWhileOthersHaveItOpen) {
    const std::string path = mFolder.write("nbclearcase_fake.ini", oneError);
    HANDLE other =
        CreateFileW(System::unicodePath(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    EXPECT_EQ(FakeClearCase(nullptr).getError(), itsText);
    CloseHandle(other);
}

TEST_F(FakeClearCaseTest, TheArgumentDoesNotMatter) {
    mFolder.write("nbclearcase_fake.ini", oneError);
    const int something = 0;
    EXPECT_EQ(FakeClearCase(&something).getError(), itsText);
    EXPECT_EQ(FakeClearCase("text").getError(), itsText);
}

TEST_F(FakeClearCaseTest, LineEndsOfBothKindsAreRead) {
    const auto connection = connect("[attrs]\r\nC:\\a=v*version\r\nC:\\b=v*null\nbad\r\n");
    EXPECT_EQ(connection->getElementStatus("C:\\a", nullptr, nullptr), elementVersion);
    EXPECT_EQ(connection->getElementStatus("C:\\b", nullptr, nullptr), elementNull);
    EXPECT_EQ(connection->getError(), "Invalid line in [attrs]:  bad\n");
}

TEST_F(FakeClearCaseTest, ControlZEndsTheText) {
    EXPECT_EQ(connect("[vobs]\nbad\n\x1a\nworse\n")->getError(), itsText);
}

TEST_F(FakeClearCaseTest, ALastLineWithoutALineFeedDoesNotCount) {
    EXPECT_EQ(connect("[vobs]\nbad")->getError(), "");
    EXPECT_EQ(connect("[vobs]\nbad\nbad")->getError(), itsText);
}

TEST_F(FakeClearCaseTest, ASecondConnectionReadsTheFileAnewAndTheFirstDoesNot) {
    const auto first = connect("[attrs]\nC:\\a=v*version\n");
    const auto second = connect("[attrs]\nC:\\a=v*null\n");
    EXPECT_EQ(first->getElementStatus("C:\\a", nullptr, nullptr), elementVersion);
    EXPECT_EQ(second->getElementStatus("C:\\a", nullptr, nullptr), elementNull);
}

TEST_F(FakeClearCaseTest, MessagesComeWithTheirLineEndsInFileOrderUntilTheyAreCleared) {
    const auto connection = connect("[vobs]\none\n[attrs]\ntwo\n");
    const char* const both = "Invalid line in [vobs]:  one\nInvalid line in [attrs]:  two\n";
    EXPECT_EQ(connection->getError(), both);
    EXPECT_EQ(connection->getError(), both) << "reading doesn't consume";
    EXPECT_EQ(connection->getOutput(), "");
    connection->clearMessages();
    EXPECT_EQ(connection->getError(), "");
    EXPECT_EQ(connection->getOutput(), "");
}

TEST_F(FakeClearCaseTest, TheViewTagIsTheLeafOfTheVariableAtEachCall) {
    FakeClearCase connection(nullptr);
    EXPECT_EQ(connection.getViewTag(), "");
    const char* const rows[][2] = {
        {"/view/abc", "abc"}, {"/view/abc/", ""}, {"abc", ""}, {"M:\\abc", "abc"}, {"/", ""}};
    for (const auto& row : rows) {
        const EnvironmentScope root("CLEARCASE_ROOT", row[0]);
        EXPECT_EQ(connection.getViewTag(), row[1]) << row[0];
    }
    EXPECT_EQ(connection.getViewTag(), "");
}

TEST_F(FakeClearCaseTest, AChangeOfTheVariableIsNotSeenByTheElements) {
    std::unique_ptr<FakeClearCase> connection;
    {
        const EnvironmentScope root("CLEARCASE_ROOT", "Q:\\");
        connection = connect("[attrs]\nC:\\x=z*version\n");
    }
    EXPECT_EQ(connection->getViewTag(), "");
    EXPECT_EQ(connection->getElementStatus("C:\\x", nullptr, nullptr), elementVersion);
    EXPECT_EQ(connection->getElementStatus("Q:\\C:\\x", nullptr, nullptr), elementVersion);
    const EnvironmentScope root("CLEARCASE_ROOT", "R:\\v");
    EXPECT_EQ(connection->getViewTag(), "v");
    EXPECT_EQ(connection->getElementStatus("R:\\vC:\\x", nullptr, nullptr), elementViewPrivate);
}

int gOpens = 0;
int gQueries = 0;
decltype(CreateFileW)* gOpen = nullptr;
decltype(GetFileInformationByHandle)* gQuery = nullptr;

TEST_F(FakeClearCaseTest, OnlyAnElementThatIsNotConfiguredIsOpenedAndQueriedOnce) {
    const std::string path = write("element.txt", FILE_ATTRIBUTE_READONLY);
    const auto connection = connect("[attrs]\n" + path + "=v*checked_out_file\n");
    const ReplacedCall<decltype(CreateFileW)> open(
        "CreateFileW",
        [](LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
           DWORD disposition, DWORD flags, HANDLE templateFile) -> HANDLE {
            ++gOpens;
            return gOpen(name, access, share, security, disposition, flags, templateFile);
        });
    gOpen = open.original();
    const ReplacedCall<decltype(GetFileInformationByHandle)> query(
        "GetFileInformationByHandle",
        [](HANDLE file, LPBY_HANDLE_FILE_INFORMATION information) -> BOOL {
            ++gQueries;
            return gQuery(file, information);
        });
    gQuery = query.original();
    gOpens = 0;
    gQueries = 0;
    std::string version = "old";
    EXPECT_EQ(connection->getElementStatus(path.c_str(), &version, nullptr), elementCheckedOutFile);
    EXPECT_EQ(version, "");
    EXPECT_EQ(gOpens + gQueries, 0);
    EXPECT_EQ(connection->getElementStatus(mFolder.utf8().c_str(), nullptr, nullptr),
              elementDirectoryVersion);
    EXPECT_EQ(gOpens, 1);
    EXPECT_EQ(gQueries, 1);
}

TEST_F(FakeClearCaseTest, AFileThatNoConfigurationNamesAnswersByItsAttributes) {
    FakeClearCase connection(nullptr);
    const std::string readOnlyFolder = mFolder.utf8("folder");
    CreateDirectoryW(System::unicodePath(readOnlyFolder).c_str(), nullptr);
    SetFileAttributesW(System::unicodePath(readOnlyFolder).c_str(), FILE_ATTRIBUTE_READONLY);
    const struct {
        std::string path;
        ElementType status;
    } rows[] = {
        {mFolder.utf8("missing"), elementViewPrivate},
        {write("read-only.txt", FILE_ATTRIBUTE_READONLY), elementVersion},
        {write("writable.txt"), elementViewPrivate},
        {mFolder.utf8(), elementDirectoryVersion},
        {readOnlyFolder, elementDirectoryVersion},
        {"C:/NUL", elementViewPrivate},
    };
    for (const auto& row : rows) {
        std::string version = "old";
        std::string target = "old";
        EXPECT_EQ(connection.getElementStatus(row.path.c_str(), &version, &target), row.status)
            << row.path;
        EXPECT_EQ(version, "") << row.path;
        EXPECT_EQ(target, "old") << row.path;
    }
}

TEST_F(FakeClearCaseTest, APathThatDiffersFromTheConfiguredOneInCaseIsLookedUpOnDisk) {
    const auto connection = connect("[attrs]\nC:\\no\\such=x\\y\n");
    EXPECT_EQ(connection->getElementStatus("C:\\no\\such", nullptr, nullptr), elementSymbolicLink);
    EXPECT_EQ(connection->getElementStatus("c:/no/such", nullptr, nullptr), elementViewPrivate);
}

TEST_F(FakeClearCaseTest, APathOf32000CharactersIsAnswered) {
    FakeClearCase connection(nullptr);
    std::string path = "C:";
    while (path.size() < 32000) {
        path += "\\component";
    }
    EXPECT_EQ(connection.getElementStatus(path.c_str(), nullptr, nullptr), elementViewPrivate);
}

TEST_F(FakeClearCaseDeathTest, ARelativePathStopsTheProcess) {
    FakeClearCase connection(nullptr);
    EXPECT_DEATH(static_cast<void>(connection.getElementStatus("a\\b", nullptr, nullptr)),
                 "assertion failed at util/pathfun\\.cpp.*: absolute");
}

TEST_F(FakeClearCaseDeathTest, AConfiguredPathThatIsNotAbsoluteStopsTheProcess) {
    EXPECT_DEATH(connect("[attrs]\n\\x\\y=z\n"),
                 "assertion failed at util/pathfun\\.cpp.*: absolute");
}

TEST_F(FakeClearCaseTest, ProductInfoReplacesItsThreeKeysAndKeepsTheOthers) {
    FakeClearCase connection(nullptr);
    std::map<std::string, std::string> info = {{"version", "7"}, {"extra", "kept"}};
    connection.getProductInfo(&info, info);
    const std::map<std::string, std::string> expected = {{"product", "Phony ClearCase Interface"},
                                                         {"version", "n/a"},
                                                         {"osname", "Windows"},
                                                         {"extra", "kept"}};
    EXPECT_EQ(info, expected);
}

/// Returns the message of the std::runtime_error that `call` throws.
template <class Call>
std::string refusalOf(Call call) {
    try {
        call();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "nothing was thrown";
}

TEST_F(FakeClearCaseTest, SessionsAreRefusedAndTheConnectionIsAlwaysReady) {
    FakeClearCase connection(nullptr);
    EXPECT_TRUE(connection.isReady());
    EXPECT_EQ(refusalOf([&] { connection.startSession(); }), "No ClearCase sessions when faking");
    EXPECT_EQ(refusalOf([&] { connection.killConnection(); }), "No connection to kill!");
    EXPECT_TRUE(connection.isReady());
}

TEST_F(FakeClearCaseTest, TheConfiguredVobsAreTheOnesThatAreProbed) {
    const std::string folder = mFolder.utf8();
    const auto connection = connect("[vobs]\n/a=ro\n=\n/a=\n");
    std::vector<VobRecord> results = {{"earlier", vobReadOnly}};
    connection->probeVobs(folder, results);
    ASSERT_EQ(results.size(), 4U);
    EXPECT_EQ(results[0].tag, "earlier");
    EXPECT_EQ(results[1].tag, folder + "/a");
    EXPECT_EQ(results[1].state, vobNotDetermined);
    EXPECT_EQ(results[2].tag, folder);
    EXPECT_EQ(results[2].state, vobWritable);
    EXPECT_EQ(results[3].tag, folder + "/a");
}

}  // namespace
