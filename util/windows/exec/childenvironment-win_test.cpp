// The current directory and Path that the process has while it starts a child.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/environmentblock.h"
#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/numberedmessage.h"
#include "util/platform/errortext-win.h"
#include "util/windows/exec/environment-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

using Path = std::optional<std::wstring>;

/// The system's search path. The C runtime must have its copy exactly when the system has the
/// variable.
Path processPath() {
    std::wstring value(32'767, L'\0');
    SetLastError(NO_ERROR);
    value.resize(GetEnvironmentVariableW(L"Path", value.data(), 32'767));
    const bool isSet = !value.empty() || GetLastError() != ERROR_ENVVAR_NOT_FOUND;
    EXPECT_EQ(std::getenv("Path") != nullptr, isSet);
    return isSet ? Path(value) : Path();
}

std::string directoryNow() { return System::getcwd(); }

/// Returns whether a thread that doesn't hold the lock can take it.
bool isLockFree() {
    bool taken = false;
    std::thread([&taken] {
        if (gProcessEnvironmentLock.tryLock()) {
            taken = true;
            gProcessEnvironmentLock.unlock();
        }
    }).join();
    return taken;
}

TEST(ChildEnvironmentScopeTest, DirectoryAndPathAreTheChildsDuringAndTheCallersAfter) {
    const TempFolder folder;
    const std::string before = directoryNow();
    const EnvironmentScope path("Path", "C:\\caller;C:\\x y;");
    const std::string environment = environmentBlock({"A=1", "PATH=C:\\child;D:\\z", "B=2"});
    {
        const ChildEnvironmentScope scope(environment.c_str(), folder.utf8());
        EXPECT_EQ(directoryNow(), folder.utf8());
        EXPECT_EQ(processPath(), L"C:\\child;D:\\z");
        EXPECT_EQ(scope.childPath(),
                  environment.c_str() + std::strlen("A=1") + 1 + std::strlen("PATH="))
            << "a part of the caller's block";
        EXPECT_STREQ(scope.childPath(), "C:\\child;D:\\z");
    }
    EXPECT_EQ(directoryNow(), before);
    EXPECT_EQ(processPath(), L"C:\\caller;C:\\x y;");
}

// None of these is a Path.
const std::vector<std::string> otherStrings = {"PATHEXT=.x", "XPATH=y", "PATH", "PAT=H", "=PATH=z"};

TEST(ChildEnvironmentScopeTest, TheFirstPathInAnyCaseCounts) {
    const EnvironmentScope path("Path", "C:\\caller");
    for (const char* name : {"PATH", "Path", "path", "pAtH"}) {
        std::vector<std::string> strings = otherStrings;
        strings.push_back(std::string(name).append("=C:\\1st"));
        strings.insert(strings.end(), {"PATH=C:\\2nd", "Path=C:\\3rd"});
        const std::string environment = environmentBlock(strings);
        const ChildEnvironmentScope scope(environment.c_str(), "");
        EXPECT_STREQ(scope.childPath(), "C:\\1st") << name;
        EXPECT_EQ(processPath(), L"C:\\1st") << name;
    }
    EXPECT_EQ(processPath(), L"C:\\caller");
}

TEST(ChildEnvironmentScopeTest, WithoutAPathInTheEnvironmentThatOfTheProcessStays) {
    const EnvironmentScope path("Path", "C:\\caller");
    const std::string others = environmentBlock(otherStrings);
    for (const char* environment : {static_cast<const char*>(nullptr), "", others.c_str()}) {
        const ChildEnvironmentScope scope(environment, "");
        EXPECT_EQ(scope.childPath(), nullptr);
        EXPECT_EQ(processPath(), L"C:\\caller");
    }
    EXPECT_EQ(processPath(), L"C:\\caller");
}

TEST(ChildEnvironmentScopeTest, AnEmptyWorkingDirectoryLeavesTheDirectory) {
    const TempFolder folder;
    const CurrentDirectory current(folder.path());
    const ChildEnvironmentScope scope("PATH=x\0", "");
    EXPECT_EQ(directoryNow(), folder.utf8());
}

TEST(ChildEnvironmentScopeTest, AWorkingDirectoryMayHaveAnyLettersAndBeRelative) {
    const TempFolder folder;
    const std::string name = "\xE4\xB8\xAD \xC3\xA4";
    std::filesystem::create_directory(folder.path() / L"\u4E2D \u00E4");
    const CurrentDirectory current(folder.path());
    {
        const ChildEnvironmentScope scope(nullptr, name);
        EXPECT_EQ(directoryNow(), folder.utf8(name));
    }
    EXPECT_EQ(directoryNow(), folder.utf8());
}

TEST(ChildEnvironmentScopeTest, AnEmptyPathOfTheChildIsNone) {
    const EnvironmentScope path("Path", "C:\\caller");
    {
        const ChildEnvironmentScope scope("PATH=\0", "");
        EXPECT_STREQ(scope.childPath(), "");
        EXPECT_EQ(processPath(), std::nullopt);
    }
    EXPECT_EQ(processPath(), L"C:\\caller");
}

TEST(ChildEnvironmentScopeTest, APathThatWasNotSetIsNotSetAfterwards) {
    const EnvironmentScope path("Path", std::nullopt);
    ASSERT_EQ(processPath(), std::nullopt);
    {
        const ChildEnvironmentScope scope("PATH=C:\\child\0", "");
        EXPECT_EQ(processPath(), L"C:\\child");
    }
    EXPECT_EQ(processPath(), std::nullopt);
}

TEST(ChildEnvironmentScopeTest, APathComesBackLetterForLetter) {
    for (const std::string& value :
         {std::string("x"), std::string(";;C:\\a b\\;\"C:\\c;d\";%A%;=; "), std::string(258, 'x'),
          std::string(259, 'x'), std::string(260, 'x'), std::string(261, 'x'),
          std::string(8000, 'x')}) {
        const EnvironmentScope path("Path", value);
        { const ChildEnvironmentScope scope("PATH=C:\\child\0", ""); }
        EXPECT_EQ(processPath(), std::wstring(value.begin(), value.end()));
    }
}

/// The text in the ANSI code page; empty if that can't represent it.
std::string inAnsi(const std::wstring& text) {
    std::string narrow(100, '\0');
    BOOL lossy = FALSE;
    const int size =
        WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(),
                            static_cast<int>(text.size()), narrow.data(), 100, nullptr, &lossy);
    narrow.resize(lossy ? 0 : static_cast<size_t>(size));
    return narrow;
}

TEST(ChildEnvironmentScopeTest, APathWithLettersOfTheAnsiCodePageComesBackToo) {
    if (GetACP() == CP_UTF8 || inAnsi(L"\u00E4\u00DF").empty()) {
        GTEST_SKIP() << "the ANSI code page has no such letters of its own";
    }
    const EnvironmentScope path("Path", inAnsi(L"C:\\\u00E4\u00DF"));
    ASSERT_EQ(processPath(), L"C:\\\u00E4\u00DF");
    {
        // The child's value is treated as text in that code page too, unchanged.
        const std::string environment = environmentBlock({"PATH=C:\\" + inAnsi(L"\u00E4")});
        const ChildEnvironmentScope scope(environment.c_str(), "");
        EXPECT_EQ(processPath(), L"C:\\\u00E4");
    }
    EXPECT_EQ(processPath(), L"C:\\\u00E4\u00DF");
}

// Most ANSI code pages lack this letter.
const std::wstring foreignPath = L"C:\\\u4E2D";

bool ansiHasForeignPath() { return GetACP() == CP_UTF8 || !inAnsi(foreignPath).empty(); }

TEST(ChildEnvironmentScopeTest, APathThatIsNotTouchedKeepsLettersTheAnsiCodePageLacks) {
    if (ansiHasForeignPath()) {
        GTEST_SKIP() << "the ANSI code page lacks no letter of the path";
    }
    const EnvironmentScope path("Path", "C:\\caller");
    ASSERT_TRUE(SetEnvironmentVariableW(L"Path", foreignPath.c_str()));
    const std::string others = environmentBlock(otherStrings);
    for (const char* environment : {static_cast<const char*>(nullptr), "", others.c_str()}) {
        { const ChildEnvironmentScope scope(environment, ""); }
        EXPECT_EQ(processPath(), foreignPath);
    }
}

TEST(ChildEnvironmentScopeTest, APathThatIsPutBackIsWhatTheAnsiCodePageMakesOfIt) {
    if (ansiHasForeignPath()) {
        GTEST_SKIP() << "the ANSI code page lacks no letter of the path";
    }
    const EnvironmentScope path("Path", "C:\\caller");
    ASSERT_TRUE(SetEnvironmentVariableW(L"Path", foreignPath.c_str()));
    std::array<char, 20> narrow{};
    ASSERT_NE(WideCharToMultiByte(CP_ACP, 0, foreignPath.c_str(), -1, narrow.data(), 20, nullptr,
                                  nullptr),
              0);
    std::array<wchar_t, 20> wide{};
    ASSERT_NE(MultiByteToWideChar(CP_ACP, 0, narrow.data(), -1, wide.data(), 20), 0);
    { const ChildEnvironmentScope scope("PATH=x\0", ""); }
    EXPECT_EQ(processPath(), wide.data());
    EXPECT_NE(processPath(), foreignPath);
}

/// The failure of a scope; code and text are empty if there is none.
struct Failure {
    int code = 0;
    std::string text;
};

Failure failureOf(const std::string& directory) {
    try {
        const ChildEnvironmentScope scope("PATH=C:\\child\0", directory);
    } catch (const NumberedRuntimeError& e) {
        return {e.code(), e.what()};
    }
    return {};
}

TEST(ChildEnvironmentScopeTest, ADirectoryThatCannotBeEnteredIsFailure5008WithTheMessage) {
    const TempFolder folder;
    folder.write("file", "");
    for (const std::string& directory :
         {folder.utf8("missing"), folder.utf8("missing/too"), folder.utf8("file")}) {
        ASSERT_FALSE(SetCurrentDirectoryW(System::unicodePath(directory).c_str()));
        const uint32_t error = GetLastError();
        const std::string words = lastErrorText(/*withCode=*/false, &error, errorOfSystem);
        const Failure failure = failureOf(directory);
        EXPECT_EQ(failure.code, 5008) << directory;
        EXPECT_EQ(failure.text, words) << directory;
    }
}

TEST(ChildEnvironmentScopeTest, TheMessageComesWithoutItsLineEnd) {
    const SystemMessage message(L"There is no way in.\r\n");
    const ReplacedCall<decltype(SetCurrentDirectoryW)> call("SetCurrentDirectoryW",
                                                            [](LPCWSTR) -> BOOL {
                                                                SetLastError(ERROR_ACCESS_DENIED);
                                                                return FALSE;
                                                            });
    EXPECT_EQ(failureOf("C:/any").text, "There is no way in");
    ASSERT_FALSE(message.calls().empty());
    EXPECT_EQ(message.calls().back().number, DWORD{ERROR_ACCESS_DENIED});
}

TEST(ChildEnvironmentScopeTest, AFailureLeavesEverythingAsItWas) {
    const TempFolder folder;
    const EnvironmentScope path("Path", "C:\\caller");
    const std::string before = directoryNow();
    EXPECT_EQ(failureOf(folder.utf8("missing")).code, directoryNotEntered);
    EXPECT_TRUE(isLockFree());
    EXPECT_EQ(directoryNow(), before);
    EXPECT_EQ(processPath(), L"C:\\caller");
}

TEST(ChildEnvironmentScopeTest, TheLockIsHeldToTheEndOfTheScope) {
    EXPECT_TRUE(isLockFree());
    {
        const ChildEnvironmentScope scope(nullptr, "");
        EXPECT_FALSE(isLockFree());
    }
    EXPECT_TRUE(isLockFree());
}

bool gLockWasFree;

TEST(ChildEnvironmentScopeTest, TheLockIsHeldWhileTheDirectoryChangesEitherWay) {
    const ReplacedCall<decltype(SetCurrentDirectoryW)> call("SetCurrentDirectoryW",
                                                            [](LPCWSTR) -> BOOL {
                                                                gLockWasFree |= isLockFree();
                                                                return TRUE;
                                                            });
    gLockWasFree = false;
    { const ChildEnvironmentScope scope(nullptr, "C:/any"); }
    EXPECT_FALSE(gLockWasFree);
    EXPECT_TRUE(isLockFree());
}

TEST(ChildEnvironmentScopeTest, TheLockIsHeldWhileThePathChangesEitherWay) {
    const EnvironmentScope path("Path", "C:\\caller");
    static decltype(&_putenv) original = nullptr;
    static std::vector<std::string> changes;
    changes.clear();
    const ReplacedCall<decltype(_putenv)> call("_putenv", [](const char* text) -> int {
        gLockWasFree |= isLockFree();
        changes.emplace_back(text);
        return original(text);
    });
    original = call.original();
    gLockWasFree = false;
    { const ChildEnvironmentScope scope("PATH=C:\\child\0", ""); }
    EXPECT_EQ(changes, (std::vector<std::string>{"PATH=C:\\child", "Path=C:\\caller"}));
    EXPECT_FALSE(gLockWasFree);
    EXPECT_TRUE(isLockFree());
}

TEST(ChildEnvironmentScopeTest, ScopesOfOneThreadMayBeNested) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.path() / "inner");
    const std::string before = directoryNow();
    const EnvironmentScope path("Path", "C:\\caller");
    {
        const ChildEnvironmentScope outer("PATH=C:\\outer\0", folder.utf8());
        {
            // On the heap, as the compiler's check of locks knows no recursive ones.
            const auto inner =
                std::make_unique<const ChildEnvironmentScope>("PATH=C:\\inner\0", "inner");
            EXPECT_EQ(directoryNow(), folder.utf8("inner"));
            EXPECT_EQ(processPath(), L"C:\\inner");
        }
        EXPECT_EQ(directoryNow(), folder.utf8());
        EXPECT_EQ(processPath(), L"C:\\outer");
        EXPECT_FALSE(isLockFree());
    }
    EXPECT_EQ(directoryNow(), before);
    EXPECT_EQ(processPath(), L"C:\\caller");
    EXPECT_TRUE(isLockFree());
}

TEST(ChildEnvironmentScopeTest, AReturnToADirectoryThatIsGoneIsSilent) {
    const TempFolder folder;
    const CurrentDirectory current;
    std::filesystem::create_directory(folder.path() / "caller");
    std::filesystem::create_directory(folder.path() / "child");
    std::filesystem::current_path(folder.path() / "caller");
    const EnvironmentScope path("Path", "C:\\caller");
    {
        const ChildEnvironmentScope scope("PATH=C:\\child\0", folder.utf8("child"));
        ASSERT_TRUE(std::filesystem::remove(folder.path() / "caller"));
    }
    EXPECT_EQ(directoryNow(), folder.utf8("child"));
    EXPECT_EQ(processPath(), L"C:\\caller");
    EXPECT_TRUE(isLockFree());
}

TEST(ChildEnvironmentScopeTest, ThreadsDoNotSeeEachOthersDirectoryAndPath) {
    const TempFolder folder;
    const std::string before = directoryNow();
    const EnvironmentScope path("Path", "C:\\caller");
    const auto work = [&folder](const std::string& name) {
        const std::string environment = environmentBlock({"PATH=C:\\" + name});
        for (int i = 0; i < 50; ++i) {
            const ChildEnvironmentScope scope(environment.c_str(), folder.utf8(name));
            EXPECT_EQ(directoryNow(), folder.utf8(name));
            EXPECT_EQ(processPath(), L"C:\\" + std::wstring(name.begin(), name.end()));
        }
    };
    std::vector<std::thread> threads;
    for (const char* name : {"one", "two", "three", "four"}) {
        std::filesystem::create_directory(folder.path() / name);
        threads.emplace_back(work, name);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(directoryNow(), before);
    EXPECT_EQ(processPath(), L"C:\\caller");
}

}  // namespace
