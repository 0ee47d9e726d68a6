#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/counts/processresources-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/processend-win.h"
#include "testing/processes/testedexec-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"
#include "util/windows/exec/environment-win.h"
#include "util/windows/system-paths-win.h"

namespace testing_support {

/// Returns the command line that makes execchild perform these actions: its path in quotes,
/// followed by `actions`, unchanged.
inline std::string execChild(const std::string& actions = {}) {
    std::string line = "\"";
    return line.append(utf8(testProgramFolder() / "execchild.exe")).append("\" ").append(actions);
}

/// Returns a command with that line and the defaults for all else.
inline Exec::RunInfo childInfo(const std::string& actions = {}) {
    Exec::RunInfo info;
    info.mDirectArgv = {execChild(actions)};
    return info;
}

inline std::string fileContent(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// How a command's streams are handled. This decides where the message of a failure goes.
struct StreamChoice {
    bool isMerged;
    bool isCaptured;

    Exec::RunInfo appliedTo(Exec::RunInfo info) const {
        info.mMergeOutput = isMerged;
        info.mCaptureOutput = isCaptured;
        return info;
    }
    void expectWords(const CommandResult& result, const std::string& words) const {
        EXPECT_EQ(result.output, isCaptured && isMerged ? words : "");
        EXPECT_EQ(result.error, isCaptured && !isMerged ? words : "");
    }
};
inline constexpr StreamChoice streamChoices[] = {
    {false, true}, {true, true}, {false, false}, {true, false}};

/// Until the scope ends, the standard output and error of this process are two empty files, as they
/// may be for a caller of commands. The output of the C and C++ runtimes goes where it went before.
class [[nodiscard]] StandardFiles {
public:
    explicit StandardFiles(const TempFolder& folder)
        : mOutputPath(folder.path() / "standard output"),
          mErrorPath(folder.path() / "standard error"),
          mOutput(create(mOutputPath)),
          mError(create(mErrorPath)) {
        SetStdHandle(STD_OUTPUT_HANDLE, mOutput);
        SetStdHandle(STD_ERROR_HANDLE, mError);
    }
    ~StandardFiles() {
        SetStdHandle(STD_OUTPUT_HANDLE, mOutputBefore);
        SetStdHandle(STD_ERROR_HANDLE, mErrorBefore);
        CloseHandle(mOutput);
        CloseHandle(mError);
    }
    StandardFiles(const StandardFiles&) = delete;
    StandardFiles& operator=(const StandardFiles&) = delete;

    HANDLE output() const { return mOutput; }
    HANDLE error() const { return mError; }
    std::string outputContent() const { return fileContent(mOutputPath); }
    std::string errorContent() const { return fileContent(mErrorPath); }

private:
    static HANDLE create(const std::filesystem::path& path) {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                           FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, CREATE_ALWAYS, 0,
                           nullptr);
    }

    std::filesystem::path mOutputPath;
    std::filesystem::path mErrorPath;
    HANDLE mOutput;
    HANDLE mError;
    HANDLE mOutputBefore = GetStdHandle(STD_OUTPUT_HANDLE);
    HANDLE mErrorBefore = GetStdHandle(STD_ERROR_HANDLE);
};

/// Returns whether another thread can acquire the lock of starts now. Leaves no handle open.
inline bool isStartLockFree() {
    bool isFree = false;
    HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* result) -> DWORD {
            if (gProcessEnvironmentLock.tryLock()) {
                gProcessEnvironmentLock.unlock();
                *static_cast<bool*>(result) = true;
            }
            return 0;
        },
        &isFree, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    return isFree;
}

/// Returns this process's search path as the system has it.
inline std::wstring systemPath() {
    std::wstring value(32'767, L'\0');
    value.resize(GetEnvironmentVariableW(L"Path", value.data(), 32'767));
    return value;
}

/// A test of commands. Expects at its end that its commands have left no handle open and no capture
/// file, that the lock of starts is free, and that the current directory and the search path are
/// what they were, however the commands have ended. It uses no std::thread, since its library
/// keeps handles open, which would look like leaks.
class CommandTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        // Opens what the process opens once for all its commands, exceptions and named objects.
        TestedExec().run(execChild());
        CloseHandle(CreateEventW(nullptr, TRUE, FALSE, L"nbcc-command-test"));
        EXPECT_ANY_THROW(TestedExec().run(execChild(), "c:/no such folder"));
    }
    void SetUp() override {
        mDirectoryBefore = System::getcwd();
        mPathBefore = systemPath();
        mHandlesBefore = handleCount();
        mExec.emplace();
    }
    void TearDown() override {
        mExec.reset();
        EXPECT_EQ(handleCount(), mHandlesBefore);
        EXPECT_EQ(captures(), std::multiset<std::string>());
        EXPECT_TRUE(isStartLockFree());
        EXPECT_EQ(System::getcwd(), mDirectoryBefore);
        EXPECT_EQ(systemPath(), mPathBefore);
    }

    /// Returns the current capture files, as the first three letters of their names.
    std::multiset<std::string> captures() const {
        std::multiset<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(mCaptures.path())) {
            names.insert(utf8(entry.path().filename()).substr(0, 3));
        }
        return names;
    }

    TempFolder mFolder;
    std::optional<TestedExec> mExec;

private:
    TempFolder mCaptures;
    EnvironmentScope mTmp{"TMP", mCaptures.path().string()};
    std::string mDirectoryBefore;
    std::wstring mPathBefore;
    size_t mHandlesBefore = 0;
};

}  // namespace testing_support
