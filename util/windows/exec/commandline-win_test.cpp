// What a command line makes the search look for, what CreateProcess then gets, and which files pass
// for programs. Which names a search tries: programsearch-win_test.cpp.

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/directorylink-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec/programsearch-win.h"

namespace {

using namespace testing_support;

std::vector<std::wstring> gAsked;

/// Records the names of the files that are asked for; none of them exists.
class AskedFiles {
public:
    AskedFiles()
        : mCall("GetFileAttributesW", [](LPCWSTR path) -> DWORD {
              gAsked.emplace_back(path);
              return INVALID_FILE_ATTRIBUTES;
          }) {
        gAsked.clear();
    }

private:
    ReplacedCall<decltype(GetFileAttributesW)> mCall;
};

TEST(LocateProgramTest, TheNameIsTheFirstWordOrWhatComesBetweenQuotes) {
    struct Row {
        const wchar_t* line;
        const wchar_t* asked;
    };
    for (const auto& [line, asked] : {
             Row{L"tool", L"\\\\?\\C:\\w\\tool.com"},
             Row{L"tool.exe x y", L"\\\\?\\C:\\w\\tool.exe"},
             Row{L" \t\r\n tool x", L"\\\\?\\C:\\w\\tool.com"},
             Row{L"tool\tx", L"\\\\?\\C:\\w\\tool.com"},
             Row{L"tool\nx", L"\\\\?\\C:\\w\\tool.com"},
             Row{L"\"my tool\" x", L"\\\\?\\C:\\w\\my tool.com"},
             Row{L"  \"my tool\" x", L"\\\\?\\C:\\w\\my tool.com"},
             Row{L"\"my tool.exe\"x y", L"\\\\?\\C:\\w\\my tool.exe"},
             Row{L"\" tool\"", L"\\\\?\\C:\\w\\ tool.com"},
             Row{L"\"a\\my tool\" \"x y\"", L"\\\\?\\C:\\w\\a\\my tool.com"},
             Row{L"to\"ol x\" y", L"\\\\?\\C:\\w\\to\"ol.com"},
             Row{L"\"my tool x", L"\\\\?\\C:\\w\\\"my tool x.com"},
             Row{L"\"", L"\\\\?\\C:\\w\\\".com"},
             Row{L"\"\" x", L"\\\\?\\C:\\w.com"},
             Row{L"\u4E2D\u00C4 x", L"\\\\?\\C:\\w\\\u4E2D\u00C4.com"},
             Row{L"\"\u4E2D \u00C4\" x", L"\\\\?\\C:\\w\\\u4E2D \u00C4.com"},
         }) {
        const AskedFiles files;
        EXPECT_EQ(locateProgram(line, "", "C:/w"), L"");
        ASSERT_FALSE(gAsked.empty()) << toUtf8(line);
        EXPECT_EQ(gAsked.front(), asked) << toUtf8(line);
    }
}

TEST(LocateProgramTest, ALineOfBlanksComesBackAndNothingIsSearched) {
    const AskedFiles files;
    for (const wchar_t* line : {L"", L" ", L" \t\r\n\v\f "}) {
        EXPECT_EQ(locateProgram(line, "C:/a", "C:/w"), line);
    }
    EXPECT_TRUE(gAsked.empty());
}

TEST(LocateProgramTest, TheWorkingDirectoryIsSearchedBeforeThePath) {
    const AskedFiles files;
    EXPECT_EQ(locateProgram(L"tool.exe", "C:/a;b", "C:/w"), L"");
    EXPECT_EQ(gAsked,
              (std::vector<std::wstring>{L"\\\\?\\C:\\w\\tool.exe", L"\\\\?\\C:\\a\\tool.exe",
                                         L"\\\\?\\C:\\w\\b\\tool.exe"}));
}

TEST(LocateProgramTest, AFileIsFoundWithItsSuffixAndInBackslashes) {
    const TempFolder folder;
    const std::string name = "\xE4\xB8\xAD \xC3\x84.bat";
    std::filesystem::create_directory(folder.path() / "sub");
    folder.write("sub/" + name, "");
    const std::wstring found = (folder.path() / L"sub" / L"\u4E2D \u00C4.bat").make_preferred();
    const std::wstring line = L"\"\u4E2D \u00C4\" \"an argument\"";
    EXPECT_EQ(locateProgram(line, "", folder.utf8("sub").c_str()), found);
    EXPECT_EQ(locateProgram(line, folder.utf8("sub").c_str(), folder.utf8().c_str()), found);
    EXPECT_EQ(locateProgram(line, "", folder.utf8().c_str()), L"");
}

TEST(LocateProgramTest, EveryFailureIsAnEmptyText) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.path() / "tool.exe");
    const EnvironmentScope path("PATH", std::nullopt);
    EXPECT_EQ(locateProgram(L"tool.exe", "", folder.utf8().c_str()), L"") << "permission denied";
    EXPECT_EQ(locateProgram(L"missing", "", folder.utf8().c_str()), L"") << "not found";
    EXPECT_EQ(locateProgram(L"tool", nullptr, folder.utf8().c_str()), L"") << "no PATH";
    const ReplacedCall<decltype(GetFileAttributesW)> call(
        "GetFileAttributesW", [](LPCWSTR) -> DWORD { throw std::logic_error("a failure"); });
    EXPECT_EQ(locateProgram(L"tool", "", folder.utf8().c_str()), L"") << "another exception";
}

struct ChoiceRow {
    const char* program;
    const wchar_t* line;
    const wchar_t* chosenProgram;
    const wchar_t* chosenLine;
};

void expectChoices(const std::vector<ChoiceRow>& rows) {
    for (const ChoiceRow& row : rows) {
        const ProgramAndLine chosen = chooseProgram(row.program, row.line, "", "C:/w");
        EXPECT_EQ(chosen.program, row.chosenProgram) << row.program << "; " << toUtf8(row.line);
        EXPECT_EQ(chosen.line, row.chosenLine) << row.program << "; " << toUtf8(row.line);
    }
}

TEST(ChooseProgramTest, AGivenProgramIsWithoutItsQuotesAndTheLineAsItIs) {
    const AskedFiles files;
    expectChoices({
        {"C:/a/x.exe", L"\"x\" y", L"C:/a/x.exe", L"\"x\" y"},
        {"\"C:\\a b\\x.exe\"", L"\"my x\" y", L"C:\\a b\\x.exe", L"\"my x\" y"},
        {"C:\\\"a b\"\\x", L"", L"C:\\a b\\x", L""},
        {"\"", L"\"my x\" y", L"", L"\"my x\" y"},
        {" x ", L" ", L" x ", L" "},
        {"\xE4\xB8\xAD.exe", L"x", L"\u4E2D.exe", L"x"},
    });
    EXPECT_TRUE(gAsked.empty()) << "nothing is searched";
}

TEST(ChooseProgramTest, WithoutAProgramTheFirstWordOfTheLineLosesItsQuotes) {
    const AskedFiles files;
    expectChoices({
        {"", L"tool x", L"", L"tool x"},
        {"", L"tool \"x y\" \"z\"", L"", L"tool \"x y\" \"z\""},
        {"", L"\"my tool\" \"x y\"", L"", L"my tool \"x y\""},
        {"", L"\"a b\"c\" d\"e f\"g\"", L"", L"a bc de f\"g\""},
        {"", L"to\"ol\"\t\"x\"", L"", L"tool\t\"x\""},
        {"", L"\"\"tool\"\" \"x\"", L"", L"tool \"x\""},
        {"", L"to\"ol x\"\"", L"", L"tool x"},
        {"", L"\"a b \"c\"d e", L"", L"a b cd e"},
        {"", L"\"tool x y", L"", L"tool x y"},
        {"", L"\"\u4E2D \u00C4\" \"x\"", L"", L"\u4E2D \u00C4 \"x\""},
        {"", L"", L"", L""},
    });
}

TEST(ChooseProgramTest, ALeadingBlankMakesTheFirstWordEmpty) {
    const AskedFiles files;
    expectChoices({
        {"", L" \"a b\" c", L"", L" \"a b\" c"},
        {"", L"\t\"a b\" c", L"", L"\t\"a b\" c"},
    });
}

TEST(ChooseProgramTest, ALineOfBlanksIsItsOwnProgram) {
    const AskedFiles files;
    expectChoices({{"", L" \t", L" \t", L" \t"}});
}

TEST(ChooseProgramTest, AProgramThatIsFoundLeavesTheLineAsItIs) {
    const TempFolder folder;
    folder.write("my tool.exe", "");
    const ProgramAndLine chosen =
        chooseProgram("", L"\"my tool\" \"x y\"", folder.utf8().c_str(), "C:/w");
    EXPECT_EQ(chosen.program, (folder.path() / "my tool.exe").make_preferred().wstring());
    EXPECT_EQ(chosen.line, L"\"my tool\" \"x y\"");
}

TEST(ChooseProgramTest, AProgramThatIsFoundLosesTheQuotesInItsName) {
    // No file on Windows has such a name.
    const ReplacedCall<decltype(GetFileAttributesW)> call(
        "GetFileAttributesW", [](LPCWSTR) -> DWORD { return FILE_ATTRIBUTE_NORMAL; });
    expectChoices({{"", L"to\"ol x\"", L"C:\\w\\tool.com", L"to\"ol x\""}});
}

/// The result of the test of a file, and whether the file exists.
struct Answer {
    bool isProgram;
    bool exists;
    bool operator==(const Answer&) const = default;
};

Answer answerFor(const std::string& path) {
    const System::IsFileExecutableByMe test;
    bool exists = false;
    const bool isProgram = test(path, &exists);
    bool untouched = true;  // an old wrong value must not stay
    EXPECT_EQ(test(path, &untouched), isProgram);
    EXPECT_EQ(untouched, exists);
    EXPECT_EQ(test(path, nullptr), isProgram);
    return {isProgram, exists};
}

TEST(IsFileExecutableByMeTest, AnyPlainFilePasses) {
    const TempFolder folder;
    for (const char* name : {"a.exe", "a.txt", "a", "\xE4\xB8\xAD \xC3\xA4.txt"}) {
        EXPECT_EQ(answerFor(folder.write(name, "text")), (Answer{true, true})) << name;
    }
    const std::string readOnly = folder.write("r", "");
    SetFileAttributesW((folder.path() / "r").c_str(),
                       FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    EXPECT_EQ(answerFor(readOnly), (Answer{true, true}));
    SetFileAttributesW((folder.path() / "r").c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(IsFileExecutableByMeTest, ADirectoryIsThereAndFails) {
    const TempFolder folder;
    EXPECT_EQ(answerFor(folder.utf8()), (Answer{false, true}));
}

TEST(IsFileExecutableByMeTest, ALinkToADirectoryPasses) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.path() / "directory");
    const DirectoryLink link(folder, "link", "directory");
    EXPECT_EQ(answerFor(folder.utf8("link")), (Answer{true, true}));
}

TEST(IsFileExecutableByMeTest, AMissingFileFailsAndIsNotThere) {
    const TempFolder folder;
    EXPECT_EQ(answerFor(folder.utf8("missing")), (Answer{false, false}));
    EXPECT_EQ(answerFor(folder.utf8("missing/too")), (Answer{false, false}));
}

}  // namespace
