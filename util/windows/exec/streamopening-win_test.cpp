// How the files of a command's streams are opened, waited for and closed.

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/beforeresume-win.h"
#include "testing/calls/largefile-win.h"
#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

struct Opening {
    std::wstring name;
    DWORD access, share, disposition, flags;
    DWORD attributesLength;
    bool hasDescriptor;
    BOOL inherits;
    bool hasTemplate;
};

std::vector<Opening> gOpenings;
/// The error of the opening with this number, counted from 1; 0 lets it succeed.
std::function<DWORD(size_t)> gErrorOf;
decltype(&CreateFileW) gCreateFile = nullptr;

HANDLE WINAPI createFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                         DWORD disposition, DWORD flags, HANDLE pattern) {
    gOpenings.push_back({name, access, share, disposition, flags, attributes->nLength,
                         attributes->lpSecurityDescriptor != nullptr, attributes->bInheritHandle,
                         pattern != nullptr});
    const DWORD error = gErrorOf ? gErrorOf(gOpenings.size()) : NO_ERROR;
    if (error != NO_ERROR) {
        SetLastError(error);
        return INVALID_HANDLE_VALUE;
    }
    return gCreateFile(name, access, share, attributes, disposition, flags, pattern);
}

std::vector<DWORD> gSleeps;
std::function<void()> gOnSleep;

void WINAPI sleepNot(DWORD milliseconds) {
    gSleeps.push_back(milliseconds);
    if (gOnSleep) {
        gOnSleep();
    }
}

class ExecStreamOpeningTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        gOpenings.clear();
        gErrorOf = nullptr;
        gCreateFile = mCreateFile.original();
        gSleeps.clear();
        gOnSleep = nullptr;
    }

    /// A command whose three streams are all named files.
    Exec::RunInfo namedInfo(const std::string& actions = {}) const {
        Exec::RunInfo info = childInfo(actions);
        info.mStdinFile = mFolder.write("in", "input");
        info.mStdoutMode = streamFile;
        info.mStderrMode = streamAppend;
        info.mStdoutFile = mFolder.utf8("out");
        info.mStderrFile = mFolder.utf8("err");
        return info;
    }

    ReplacedCall<decltype(CreateFileW)> mCreateFile{"CreateFileW", &createFile};
    ReplacedCall<decltype(Sleep)> mSleep{"Sleep", &sleepNot};
};

constexpr DWORD read = GENERIC_READ;
constexpr DWORD readWrite = GENERIC_READ | GENERIC_WRITE;

void expectOpening(const Opening& opening, DWORD access, DWORD share, DWORD disposition,
                   DWORD flags) {
    EXPECT_EQ(opening.access, access);
    EXPECT_EQ(opening.share, share);
    EXPECT_EQ(opening.disposition, disposition);
    EXPECT_EQ(opening.flags, flags);
    EXPECT_EQ(opening.attributesLength, sizeof(SECURITY_ATTRIBUTES));
    EXPECT_FALSE(opening.hasDescriptor);
    EXPECT_EQ(opening.inherits, TRUE);
    EXPECT_FALSE(opening.hasTemplate);
}

TEST_F(ExecStreamOpeningTest, NamedFilesAreSharedForReadingAndWriting) {
    Exec::RunInfo info = namedInfo();
    EXPECT_EQ(mExec->run(info).code, 0);
    ASSERT_EQ(gOpenings.size(), 3U);
    EXPECT_EQ(gOpenings[0].name, System::unicodePath(info.mStdinFile));
    expectOpening(gOpenings[0], read, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0);
    EXPECT_EQ(gOpenings[1].name, System::unicodePath(info.mStdoutFile));
    expectOpening(gOpenings[1], readWrite, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_ALWAYS, 0);
    EXPECT_EQ(gOpenings[2].name, System::unicodePath(info.mStderrFile));
    expectOpening(gOpenings[2], readWrite, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS, 0);
}

TEST_F(ExecStreamOpeningTest, CapturesAreSharedWithNobody) {
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    ASSERT_EQ(gOpenings.size(), 2U);
    for (const Opening& opening : gOpenings) {
        expectOpening(opening, readWrite, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY);
    }
}

TEST_F(ExecStreamOpeningTest, OneFileForBothStreamsIsOpenedOnce) {
    Exec::RunInfo info = namedInfo();
    info.mStdinFile.clear();
    info.mStderrFile = info.mStdoutFile;
    EXPECT_EQ(mExec->run(info).code, 0);
    ASSERT_EQ(gOpenings.size(), 1U);
    expectOpening(gOpenings[0], readWrite, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_ALWAYS, 0);
}

TEST_F(ExecStreamOpeningTest, AFileThatIsHeldIsOpenedOnceItIsLetGo) {
    for (const char* name : {"in", "out", "err"}) {
        Exec::RunInfo info = namedInfo("copy complain y");
        const std::wstring held = (mFolder.path() / mFolder.write(name, "input")).wstring();
        gOpenings.clear();
        gSleeps.clear();
        static HANDLE holder = nullptr;
        holder = gCreateFile(held.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(holder, INVALID_HANDLE_VALUE);
        gOnSleep = [] {
            if (gSleeps.size() == 3) {
                CloseHandle(holder);
            }
        };
        EXPECT_EQ(mExec->run(info).code, 0) << name;
        EXPECT_EQ(gSleeps, std::vector<DWORD>(3, 100)) << name;
        EXPECT_EQ(gOpenings.size(), 6U) << name;
        EXPECT_EQ(fileContent(mFolder.path() / "out"), "input") << name;
        EXPECT_TRUE(fileContent(mFolder.path() / "err").ends_with("y")) << name;
    }
    EXPECT_EQ(mExec->errors(), Texts());
}

struct Wait {
    const char* stream;
    bool isNamed;
    size_t opening;   ///< the first opening of that stream's file
    size_t openings;  ///< the earlier ones, and this one 600 times
};
const Wait waits[] = {
    {"input", true, 1, 600},   {"output", true, 2, 601}, {"error", true, 3, 602},
    {"output", false, 1, 600}, {"error", false, 2, 601},
};

TEST_F(ExecStreamOpeningTest, AFileThatStaysHeldIsTriedSixHundredTimes) {
    const SystemMessage message(L"It can't be.");
    for (const Wait& wait : waits) {
        mExec.emplace();
        gOpenings.clear();
        gSleeps.clear();
        gErrorOf = [&wait](size_t number) -> DWORD {
            return number >= wait.opening ? ERROR_SHARING_VIOLATION : NO_ERROR;
        };
        Exec::RunInfo info = wait.isNamed ? namedInfo() : childInfo();
        const CommandResult result = mExec->run(info);
        EXPECT_EQ(result.code, Exec::notFoundCode);
        EXPECT_EQ(result.error, std::string("Exec::runCommand couldn't open file for standard ") +
                                    wait.stream + ": It can't be");
        EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_SHARING_VIOLATION));
        EXPECT_EQ(gOpenings.size(), wait.openings) << wait.stream;
        EXPECT_EQ(gSleeps, std::vector<DWORD>(599, 100)) << wait.stream;
    }
}

TEST_F(ExecStreamOpeningTest, TheLastTryMaySucceed) {
    gErrorOf = [](size_t number) -> DWORD {
        return number < 600 ? ERROR_SHARING_VIOLATION : NO_ERROR;
    };
    EXPECT_EQ(mExec->run(execChild("say x")).output, "x");
    EXPECT_EQ(gSleeps, std::vector<DWORD>(599, 100));
}

TEST_F(ExecStreamOpeningTest, AnyOtherErrorIsNotWaitedFor) {
    const SystemMessage message(L"It can't be.");
    for (const Wait& wait : waits) {
        for (const DWORD error :
             {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_GEN_FAILURE, ERROR_LOCK_VIOLATION}) {
            gOpenings.clear();
            gErrorOf = [&wait, error](size_t number) -> DWORD {
                return number == wait.opening ? error : DWORD{NO_ERROR};
            };
            Exec::RunInfo info = wait.isNamed ? namedInfo() : childInfo();
            EXPECT_EQ(mExec->run(info).code, Exec::notFoundCode);
            EXPECT_EQ(gOpenings.size(), wait.opening);
            EXPECT_EQ(message.calls().back().number, error);
        }
    }
    EXPECT_TRUE(gSleeps.empty());
}

TEST_F(ExecStreamOpeningTest, AnotherErrorEndsTheWait) {
    gErrorOf = [](size_t number) -> DWORD {
        return number < 3 ? ERROR_SHARING_VIOLATION : ERROR_ACCESS_DENIED;
    };
    EXPECT_EQ(mExec->run(execChild()).code, Exec::notFoundCode);
    EXPECT_EQ(gOpenings.size(), 3U);
    EXPECT_EQ(gSleeps, std::vector<DWORD>(2, 100));
}

struct Duplication {
    HANDLE from, handle, to;
    DWORD access;
    BOOL inherits;
    DWORD options;
};
std::vector<Duplication> gDuplications;
bool gRefusesDuplicate = false;
decltype(&DuplicateHandle) gDuplicate = nullptr;
std::vector<HANDLE> gClosed;
decltype(&CloseHandle) gClose = nullptr;

BOOL WINAPI duplicate(HANDLE from, HANDLE handle, HANDLE to, LPHANDLE copy, DWORD access,
                      BOOL inherits, DWORD options) {
    gDuplications.push_back({from, handle, to, access, inherits, options});
    if (gRefusesDuplicate) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    return gDuplicate(from, handle, to, copy, access, inherits, options);
}

BOOL WINAPI closeHandle(HANDLE handle) {
    gClosed.push_back(handle);
    return gClose(handle);
}

class ExecStreamCopyTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        gDuplications.clear();
        gRefusesDuplicate = false;
        gDuplicate = mDuplicate.original();
        gClosed.clear();
        gClose = mClose.original();
    }
    static auto closings(HANDLE handle) {
        return std::count(gClosed.begin(), gClosed.end(), handle);
    }
    /// Each copy closes the process's pseudo handle, without effect. Handle numbers are reused, so
    /// only the closings after the child is made count.
    static void forgetClosings(HANDLE /*thread*/) {
        EXPECT_EQ(closings(GetCurrentProcess()),
                  gDuplications.empty() || gRefusesDuplicate ? 0 : 1);
        gClosed.clear();
    }

    ReplacedCall<decltype(DuplicateHandle)> mDuplicate{"DuplicateHandle", &duplicate};
    ReplacedCall<decltype(CloseHandle)> mClose{"CloseHandle", &closeHandle};
    BeforeResume mResume{&forgetClosings};
};

TEST_F(ExecStreamCopyTest, TwoStreamsWithOneHandleGetTwoThatAreClosedSeparately) {
    const StandardFiles streams(mFolder);
    for (const bool capture : {true, false}) {
        gDuplications.clear();
        const RecordedStarts starts;
        Exec::RunInfo info = childInfo();
        info.mMergeOutput = true;
        info.mCaptureOutput = capture;
        EXPECT_EQ(mExec->run(info).code, 0);
        const STARTUPINFOW& startup = starts.last().startup;
        ASSERT_EQ(gDuplications.size(), 1U);
        const Duplication& copy = gDuplications[0];
        EXPECT_EQ(copy.from, GetCurrentProcess());
        EXPECT_EQ(copy.handle, startup.hStdOutput);
        EXPECT_EQ(copy.to, GetCurrentProcess());
        EXPECT_EQ(copy.inherits, TRUE);
        EXPECT_EQ(copy.options, DWORD{DUPLICATE_SAME_ACCESS});
        EXPECT_NE(startup.hStdError, startup.hStdOutput);
        EXPECT_EQ(closings(startup.hStdOutput), capture ? 1 : 0);
        EXPECT_EQ(closings(startup.hStdError), 1);
    }
}

TEST_F(ExecStreamCopyTest, StreamsOfTwoHandlesStayAsTheyAre) {
    const RecordedStarts starts;
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_TRUE(gDuplications.empty());
    for (HANDLE handle : {starts.last().startup.hStdInput, starts.last().startup.hStdOutput,
                          starts.last().startup.hStdError, starts.last().process.hProcess,
                          starts.last().process.hThread}) {
        EXPECT_EQ(closings(handle), 1);
    }
}

TEST_F(ExecStreamCopyTest, WithoutACopyBothStreamsHaveOneHandle) {
    const StandardFiles streams(mFolder);
    gRefusesDuplicate = true;
    for (const bool capture : {true, false}) {
        const RecordedStarts starts;
        Exec::RunInfo info = childInfo("say x complain y say z");
        info.mMergeOutput = true;
        info.mCaptureOutput = capture;
        const CommandResult result = mExec->run(info);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(capture ? result.output : streams.outputContent(), "xyz");
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(mExec->errors(), Texts());
        EXPECT_EQ(starts.last().startup.hStdError, starts.last().startup.hStdOutput);
        EXPECT_EQ(closings(starts.last().startup.hStdOutput), capture ? 1 : 0);
    }
}

using ExecAppendTest = CommandTest;

TEST_F(ExecAppendTest, AFileAbove4GigabytesIsAppendedToAtItsEnd) {
    Exec::RunInfo info = childInfo("say more");
    info.mStdoutMode = streamAppend;
    info.mStdoutFile = mFolder.utf8("log");
    if (!makeLargeFile(info.mStdoutFile)) {
        GTEST_SKIP() << "this system has no file above 4 GB";
    }
    {
        const NarrowFilePointer pointer;
        EXPECT_EQ(mExec->run(info).code, 0);
    }
    std::string head(4, 'x');
    std::string tail(5, 'x');
    EXPECT_EQ(inspectLargeFile(info.mStdoutFile, head, tail), largeSize + 4);
    EXPECT_EQ(head, std::string(4, '\0')) << "its start stays";
    EXPECT_EQ(tail, std::string("\0more", 5));
}

}  // namespace
