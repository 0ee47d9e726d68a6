// Which names a search tries, and its errors if it finds nothing. What a command line makes the
// search look for: commandline-win_test.cpp.

#include "util/windows/exec/programsearch-win.h"

#include <array>
#include <bit>
#include <cstddef>
#include <filesystem>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

using Names = std::vector<std::string>;

/// Knows some programs and some other files, and records the names that it is asked for.
class KnownFiles : public System::IsFileExecutable {
public:
    explicit KnownFiles(std::set<std::string> programs = {}, std::set<std::string> others = {})
        : mPrograms(std::move(programs)), mOthers(std::move(others)) {}

    bool operator()(const std::string& path, bool* exists) const override {
        mAsked.push_back(path);
        const bool isProgram = mPrograms.contains(path);
        if (exists != nullptr) {
            *exists = isProgram || mOthers.contains(path);
        }
        return isProgram;
    }
    const Names& asked() const { return mAsked; }

private:
    std::set<std::string> mPrograms;
    std::set<std::string> mOthers;
    mutable Names mAsked;
};

/// Records its own destruction.
class EndingFiles : public KnownFiles {
public:
    explicit EndingFiles(bool& hasEnded) : mHasEnded(hasEnded) {}
    ~EndingFiles() override { mHasEnded = true; }

private:
    bool& mHasEnded;
};

/// What a pointer to a virtual operation consists of.
struct OperationPointer {
    size_t tableOffset;  ///< plus 1, which distinguishes it from a function's address
    ptrdiff_t adjustment;
};

// A test made in another module is called by the positions of its virtual operations.
TEST(IsFileExecutableTest, TheTestIsBeforeTheDestructor) {
    EXPECT_EQ(std::bit_cast<OperationPointer>(&System::IsFileExecutable::operator()).tableOffset,
              1U);
    bool hasEnded = false;
    alignas(EndingFiles) std::array<std::byte, sizeof(EndingFiles)> memory;
    System::IsFileExecutable* const files = new (memory.data()) EndingFiles(hasEnded);
    const OperationPointer second{sizeof(void*) + 1, 0};
    (files->*std::bit_cast<void (System::IsFileExecutable::*)()>(second))();
    EXPECT_TRUE(hasEnded);
}

/// The message that a search throws; empty if it finds something.
std::string failureOf(const KnownFiles& files, const std::string& name, const char* path,
                      const char* directory, bool directoryFirst) {
    try {
        static_cast<void>(findProgram(files, name, path, directory, directoryFirst));
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return {};
}

/// The names tried by a search that finds nothing.
Names namesTried(const std::string& name, const char* path, const char* directory,
                 bool directoryFirst) {
    const KnownFiles none;
    EXPECT_EQ(failureOf(none, name, path, directory, directoryFirst), name + ": Command not found");
    return none.asked();
}

Names withSuffixes(const Names& stems) {
    Names names;
    for (const std::string& stem : stems) {
        for (const char* suffix : {".com", ".exe", ".bat", ".cmd"}) {
            names.push_back(stem + suffix);
        }
    }
    return names;
}

TEST(FindProgramTest, ANameWithoutADotIsTriedWithFourSuffixesAndNotBare) {
    EXPECT_EQ(namesTried("tool", "C:/a", "D:/w", false),
              (Names{"C:/a\\tool.com", "C:/a\\tool.exe", "C:/a\\tool.bat", "C:/a\\tool.cmd"}));
}

TEST(FindProgramTest, ADotInTheLastComponentLeavesTheNameAsItIs) {
    struct Row {
        const char* name;
        const char* tried;
    };
    for (const auto& [name, tried] : {
             Row{"tool.exe", "C:/a\\tool.exe"},
             Row{"tool.x", "C:/a\\tool.x"},
             Row{"tool.", "C:/a\\tool."},
             Row{".tool", "C:/a\\.tool"},
             Row{"..", "C:/a\\.."},
             Row{"d/tool.exe", "D:/w/.\\d/tool.exe"},
             Row{"D.d\\tool.exe", "D:/w/.\\D.d\\tool.exe"},
             Row{"a.b/", "D:/w/.\\a.b/"},
             Row{"C:tool.exe", "C:tool.exe"},
             Row{"//server/share.a", "//server/share.a"},
         }) {
        EXPECT_EQ(namesTried(name, "C:/a", "D:/w", false), Names{tried}) << name;
    }
}

TEST(FindProgramTest, ADotInAnotherComponentDoesNotCount) {
    struct Row {
        const char* name;
        const char* stem;
    };
    for (const auto& [name, stem] : {
             Row{"a.b/tool", "D:/w/.\\a.b/tool"},
             Row{"./tool", "D:/w/.\\./tool"},
             Row{"..\\tool", "D:/w/.\\..\\tool"},
             Row{"C:/a.b\\tool", "C:/a.b\\tool"},
             Row{"//server.x/share.a/tool", "//server.x/share.a/tool"},
         }) {
        EXPECT_EQ(namesTried(name, "C:/a", "D:/w", false), withSuffixes({stem})) << name;
    }
}

TEST(FindProgramTest, AnAbsoluteNameOrOneWithASlashIsNotSearchedInThePath) {
    struct Row {
        const char* name;
        const char* stem;
    };
    for (const auto& [name, stem] : {
             Row{"sub/tool", "D:/w/.\\sub/tool"},
             Row{"sub\\tool", "D:/w/.\\sub\\tool"},
             Row{"tool/", "D:/w/.\\tool/"},
             Row{"\\tool", "D:\\tool"},
             Row{"/tool", "D:/tool"},
             Row{"C:/x/tool", "C:/x/tool"},
             Row{"C:tool", "C:tool"},
             Row{"//server/share/tool", "//server/share/tool"},
         }) {
        EXPECT_EQ(namesTried(name, "C:/a;C:/b", "D:/w", true), withSuffixes({stem})) << name;
    }
}

TEST(FindProgramTest, SuchANameNeedsNoPathAtAll) {
    const EnvironmentScope path("PATH", std::nullopt);
    EXPECT_EQ(namesTried("sub/tool", nullptr, "D:/w", true), withSuffixes({"D:/w/.\\sub/tool"}));
    EXPECT_EQ(namesTried("C:tool", nullptr, "D:/w", true), withSuffixes({"C:tool"}));
}

TEST(FindProgramTest, TheDirectoriesOfThePathAreSeenFromTheWorkingDirectory) {
    struct Row {
        const char* path;
        Names stems;
    };
    for (const auto& [path, stems] : {
             Row{"C:/a;C:\\b", {"C:/a\\tool", "C:\\b\\tool"}},
             Row{"C:/a/;C:\\b\\", {"C:/a/tool", "C:\\b\\tool"}},
             Row{"C:", {"C:\\tool"}},
             Row{"//server/share;\\\\s\\t", {"//server/share\\tool", "\\\\s\\t\\tool"}},
             Row{"sub;.;..", {"D:/w/sub\\tool", "D:/w/.\\tool", "D:/w/..\\tool"}},
             Row{"\\sub;/sub", {"D:\\sub\\tool", "D:/sub\\tool"}},
             Row{"C:/a b;C:/\xE4\xB8\xAD", {"C:/a b\\tool", "C:/\xE4\xB8\xAD\\tool"}},
             Row{"\"C:/a\"", {"D:/w/\"C:/a\"\\tool"}},
             Row{"C:/a;C:/a", {"C:/a\\tool", "C:/a\\tool"}},
         }) {
        EXPECT_EQ(namesTried("tool", path, "D:/w", false), withSuffixes(stems)) << path;
    }
}

TEST(FindProgramTest, EmptyEntriesOfThePathAreNoDirectories) {
    EXPECT_EQ(namesTried("tool", ";C:/a;;;C:/b;", "D:/w", false),
              withSuffixes({"C:/a\\tool", "C:/b\\tool"}));
    EXPECT_EQ(namesTried("tool", ";", "D:/w", false), Names{});
}

TEST(FindProgramTest, TheWorkingDirectoryIsSearchedFirstIfThatIsAskedFor) {
    EXPECT_EQ(namesTried("tool", "C:/a;sub", "D:/w", true),
              withSuffixes({"D:/w\\tool", "C:/a\\tool", "D:/w/sub\\tool"}));
    EXPECT_EQ(namesTried("tool.exe", "C:/a", "D:\\w\\", true),
              (Names{"D:\\w\\tool.exe", "C:/a\\tool.exe"}));
}

TEST(FindProgramTest, AnEmptyPathThatIsNotNullIsAPathWithoutDirectories) {
    const EnvironmentScope process("PATH", "C:/process");
    EXPECT_EQ(namesTried("tool", "", "D:/w", false), Names{});
    EXPECT_EQ(namesTried("tool", "", "D:/w", true), withSuffixes({"D:/w\\tool"}));
}

TEST(FindProgramTest, AWorkingDirectoryWithASemicolonIsSplitLikeThePath) {
    EXPECT_EQ(namesTried("tool", "C:/a", "D:/v;w", true),
              withSuffixes({"D:/v\\tool", "D:/v;w/w\\tool", "C:/a\\tool"}));
}

TEST(FindProgramTest, WithoutAWorkingDirectoryItIsTheCurrentOne) {
    const TempFolder folder;
    const CurrentDirectory current(folder.path());
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(
            namesTried("tool", "sub;C:/a", none, true),
            withSuffixes({folder.utf8() + "\\tool", folder.utf8() + "/sub\\tool", "C:/a\\tool"}));
        EXPECT_EQ(namesTried("x/tool", "C:/a", none, true),
                  withSuffixes({folder.utf8() + "/.\\x/tool"}));
    }
}

TEST(FindProgramTest, ANullPathIsThatOfTheProcess) {
    const EnvironmentScope path("PATH", "C:/one;two");
    EXPECT_EQ(namesTried("tool", nullptr, "D:/w", false),
              withSuffixes({"C:/one\\tool", "D:/w/two\\tool"}));
    EXPECT_EQ(namesTried("tool", nullptr, "D:/w", true),
              withSuffixes({"D:/w\\tool", "C:/one\\tool", "D:/w/two\\tool"}));
    SetEnvironmentVariableW(L"PATH", L"C:/\u4E2D\u00C4");
    EXPECT_EQ(namesTried("tool", nullptr, "D:/w", false),
              withSuffixes({"C:/\xE4\xB8\xAD\xC3\x84\\tool"}));
}

TEST(FindProgramTest, WithoutAnyPathTheSearchFailsBeforeItBegins) {
    const EnvironmentScope path("PATH", std::nullopt);
    for (const wchar_t* value : {static_cast<const wchar_t*>(nullptr), L""}) {
        SetEnvironmentVariableW(L"PATH", value);
        for (const bool directoryFirst : {false, true}) {
            const KnownFiles files({"D:/w\\tool.com"});
            EXPECT_EQ(failureOf(files, "tool", nullptr, "D:/w", directoryFirst),
                      "PATH variable not set!");
            EXPECT_EQ(files.asked(), Names{});
        }
    }
}

TEST(FindProgramTest, AnEmptyNameIsTheDirectoriesWithTheSuffixes) {
    EXPECT_EQ(namesTried("", "C:/a", "D:/w", true), withSuffixes({"D:/w", "C:/a"}));
}

TEST(FindProgramTest, TheFirstFileThatPassesEndsTheSearchAndComesWithBackslashes) {
    const KnownFiles files({"C:/b/c\\tool.bat", "C:/b/c\\tool.cmd", "C:/d\\tool.com"});
    EXPECT_EQ(findProgram(files, "tool", "C:/a;C:/b/c;C:/d", "D:/w", false), "C:\\b\\c\\tool.bat");
    EXPECT_EQ(files.asked(),
              (Names{"C:/a\\tool.com", "C:/a\\tool.exe", "C:/a\\tool.bat", "C:/a\\tool.cmd",
                     "C:/b/c\\tool.com", "C:/b/c\\tool.exe", "C:/b/c\\tool.bat"}));
}

TEST(FindProgramTest, WhatIsFoundIsNeitherNormalNorLessThanWhole) {
    struct Row {
        const char* name;
        const char* tried;
        const char* result;
    };
    for (const auto& [name, tried, result] : {
             Row{"x/tool.exe", "D:/w/.\\x/tool.exe", "D:\\w\\.\\x\\tool.exe"},
             Row{"C:/x/../tool.exe", "C:/x/../tool.exe", "C:\\x\\..\\tool.exe"},
             Row{"//server/share/tool.exe", "//server/share/tool.exe",
                 "\\\\server\\share\\tool.exe"},
             Row{"\xE4\xB8\xAD/tool.exe", "D:/w/.\\\xE4\xB8\xAD/tool.exe",
                 "D:\\w\\.\\\xE4\xB8\xAD\\tool.exe"},
         }) {
        EXPECT_EQ(findProgram(KnownFiles({tried}), name, "C:/a", "D:/w", true), result);
    }
}

TEST(FindProgramTest, AFileThatFailsTheTestDoesNotEndTheSearch) {
    const KnownFiles files({"C:/b\\tool.exe"}, {"C:/a\\tool.com", "C:/b\\tool.com"});
    EXPECT_EQ(findProgram(files, "tool", "C:/a;C:/b", "D:/w", false), "C:\\b\\tool.exe");
}

TEST(FindProgramTest, OfTheFilesThatFailTheTestTheFirstIsNamed) {
    const KnownFiles files({}, {"C:/a\\tool.exe", "C:/a\\tool.bat", "C:/b\\tool.com"});
    EXPECT_EQ(failureOf(files, "tool", "D:/none;C:/a;C:/b", "D:/w", false),
              "C:/a\\tool.exe: Permission denied");
    EXPECT_EQ(files.asked().size(), 12U);
}

TEST(FindProgramTest, WithoutAFileTheNameAsItWasGivenIsNotFound) {
    const KnownFiles none;
    EXPECT_EQ(failureOf(none, "tool", "C:/a", "D:/w", false), "tool: Command not found");
    EXPECT_EQ(failureOf(none, "x/tool.exe", "C:/a", "D:/w", false),
              "x/tool.exe: Command not found");
    EXPECT_EQ(failureOf(none, "", "C:/a", "D:/w", false), ": Command not found");
}

TEST(FindProgramTest, DirectoriesOfTheSearchedNameAreDeniedAndTheFirstIsNamed) {
    const TempFolder folder;
    for (const char* directory : {"a", "a/tool.exe", "b", "b/tool.exe"}) {
        std::filesystem::create_directory(folder.path() / directory);
    }
    try {
        static_cast<void>(findProgram(System::IsFileExecutableByMe(), "tool.exe", "a;b",
                                      folder.utf8().c_str(), false));
        FAIL() << "a directory is no program";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(e.what(), folder.utf8("a") + "\\tool.exe: Permission denied");
    }
}

int gAttributeCalls;
int gOtherCalls;

TEST(FindProgramTest, TheSystemIsAskedOnceForEachNameAndForNothingElse) {
    gAttributeCalls = 0;
    gOtherCalls = 0;
    const ReplacedCall<decltype(GetFileAttributesW)> attributes("GetFileAttributesW",
                                                                [](LPCWSTR) -> DWORD {
                                                                    ++gAttributeCalls;
                                                                    return INVALID_FILE_ATTRIBUTES;
                                                                });
    const ReplacedCall<decltype(CreateFileW)> create(
        "CreateFileW",
        [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            ++gOtherCalls;
            return INVALID_HANDLE_VALUE;
        });
    const ReplacedCall<decltype(FindFirstFileW)> find("FindFirstFileW",
                                                      [](LPCWSTR, LPWIN32_FIND_DATAW) -> HANDLE {
                                                          ++gOtherCalls;
                                                          return INVALID_HANDLE_VALUE;
                                                      });
    const ReplacedCall<decltype(GetCurrentDirectoryW)> current("GetCurrentDirectoryW",
                                                               [](DWORD, LPWSTR) -> DWORD {
                                                                   ++gOtherCalls;
                                                                   return 0;
                                                               });
    const ReplacedCall<decltype(GetEnvironmentVariableW)> variable(
        "GetEnvironmentVariableW", [](LPCWSTR, LPWSTR, DWORD) -> DWORD {
            ++gOtherCalls;
            return 0;
        });
    std::string path;
    for (int i = 0; i < 40; ++i) {
        path.append("C:/directory").append(std::to_string(i)).append(";");
    }
    EXPECT_THROW(static_cast<void>(findProgram(System::IsFileExecutableByMe(), "tool", path.c_str(),
                                               "D:/w", false)),
                 std::runtime_error);
    EXPECT_EQ(gAttributeCalls, 40 * 4);
    EXPECT_EQ(gOtherCalls, 0);
}

}  // namespace
