#include "util/windows/exec/priority-win.h"

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "util/platform/errortext-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

/// Sets the flag, by default to 0, and restores it.
class RaisedPriority {
public:
    explicit RaisedPriority(int32_t value = 0) : mBefore(gRaisePriority.exchange(value)) {}
    ~RaisedPriority() { gRaisePriority = mBefore; }
    RaisedPriority(const RaisedPriority&) = delete;
    RaisedPriority& operator=(const RaisedPriority&) = delete;

private:
    int32_t mBefore;
};

/// What the calls return and what they get.
struct Answers {
    // 0 means success; `adjustError` is the error that the call leaves.
    DWORD openError = 0;
    DWORD lookupError = 0;
    BOOL isAdjusted = TRUE;
    DWORD adjustError = 0;
    BOOL hasVersion = TRUE;
    DWORD major = 5;
    DWORD minor = 1;

    std::vector<std::string> calls = {};
    HANDLE token = nullptr;  ///< returned by the first call; really an event
    HANDLE process = nullptr;
    DWORD access = 0;
    std::string privilege = {};
    HANDLE adjustedToken = nullptr;
    BOOL disablesAll = TRUE;
    TOKEN_PRIVILEGES adjusted = {};
    DWORD versionSize = 0;
};
Answers gAnswers;

BOOL WINAPI openToken(HANDLE process, DWORD access, PHANDLE token) {
    gAnswers.calls.emplace_back("open");
    gAnswers.process = process;
    gAnswers.access = access;
    SetLastError(gAnswers.openError);
    if (gAnswers.openError != 0) {
        return FALSE;
    }
    gAnswers.token = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    *token = gAnswers.token;
    return TRUE;
}

BOOL WINAPI lookUp(LPCSTR system, LPCSTR name, PLUID luid) {
    gAnswers.calls.emplace_back(system == nullptr ? "look up" : "look up elsewhere");
    gAnswers.privilege = name;
    *luid = {0x1234, 0x56};
    SetLastError(gAnswers.lookupError);
    return gAnswers.lookupError == 0;
}

BOOL WINAPI adjust(HANDLE token, BOOL disablesAll, PTOKEN_PRIVILEGES state, DWORD,
                   PTOKEN_PRIVILEGES, PDWORD) {
    gAnswers.calls.emplace_back("adjust");
    gAnswers.adjustedToken = token;
    gAnswers.disablesAll = disablesAll;
    gAnswers.adjusted = *state;
    SetLastError(gAnswers.adjustError);
    return gAnswers.isAdjusted;
}

BOOL WINAPI version(LPOSVERSIONINFOA info) {
    gAnswers.calls.emplace_back("version");
    gAnswers.versionSize = info->dwOSVersionInfoSize;
    info->dwMajorVersion = gAnswers.major;
    info->dwMinorVersion = gAnswers.minor;
    return gAnswers.hasVersion;
}

/// Replaces the four calls.
class AnsweredCalls {
public:
    explicit AnsweredCalls(const Answers& answers) { gAnswers = answers; }

private:
    ReplacedCall<decltype(OpenProcessToken)> mOpen{"OpenProcessToken", openToken};
    ReplacedCall<decltype(LookupPrivilegeValueA)> mLookup{"LookupPrivilegeValueA", lookUp};
    ReplacedCall<decltype(AdjustTokenPrivileges)> mAdjust{"AdjustTokenPrivileges", adjust};
    ReplacedCall<decltype(GetVersionExA)> mVersion{"GetVersionExA", version};
};

bool isHandle(HANDLE handle) {
    DWORD flags = 0;
    return GetHandleInformation(handle, &flags) != FALSE;
}

using Calls = std::vector<std::string>;

TEST(ElevateWindowsPriorityTest, ThePrivilegeOfThisProcessIsEnabled) {
    const RaisedPriority clear;
    const AnsweredCalls calls({});
    EXPECT_EQ(Exec::elevateWindowsPriority(), "");
    EXPECT_EQ(gAnswers.calls, (Calls{"open", "look up", "adjust", "version"}));
    EXPECT_EQ(gAnswers.process, GetCurrentProcess());
    EXPECT_EQ(gAnswers.access, DWORD{TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY});
    EXPECT_EQ(gAnswers.privilege, "SeIncreaseBasePriorityPrivilege");
    EXPECT_EQ(gAnswers.adjustedToken, gAnswers.token);
    EXPECT_FALSE(gAnswers.disablesAll);
    ASSERT_EQ(gAnswers.adjusted.PrivilegeCount, 1U);
    EXPECT_EQ(gAnswers.adjusted.Privileges[0].Luid.LowPart, 0x1234U);
    EXPECT_EQ(gAnswers.adjusted.Privileges[0].Luid.HighPart, 0x56);
    EXPECT_EQ(gAnswers.adjusted.Privileges[0].Attributes, DWORD{SE_PRIVILEGE_ENABLED});
    EXPECT_EQ(gAnswers.versionSize, sizeof(OSVERSIONINFOA));
}

TEST(ElevateWindowsPriorityTest, JobsAreRaisedBelowVersion61Only) {
    struct Row {
        DWORD major;
        DWORD minor;
        int32_t isRaised;
    };
    for (const auto& [major, minor, isRaised] : {
             Row{5, 0, 1},
             Row{5, 1, 1},
             Row{5, 2, 1},
             Row{6, 0, 1},
             Row{6, 1, 0},
             Row{6, 2, 0},
             Row{6, 3, 0},
             Row{7, 0, 0},
             Row{10, 0, 0},
         }) {
        const RaisedPriority clear;
        const AnsweredCalls calls({.major = major, .minor = minor});
        EXPECT_EQ(Exec::elevateWindowsPriority(), "");
        EXPECT_EQ(gRaisePriority, isRaised) << major << "." << minor;
        EXPECT_FALSE(isHandle(gAnswers.token));
    }
}

TEST(ElevateWindowsPriorityTest, WithoutAVersionJobsAreNotRaised) {
    const RaisedPriority clear;
    const AnsweredCalls calls({.hasVersion = FALSE});
    EXPECT_EQ(Exec::elevateWindowsPriority(), "");
    EXPECT_EQ(gRaisePriority, 0);
}

TEST(ElevateWindowsPriorityTest, WhatIsRaisedAlreadyNeedsNoCall) {
    const RaisedPriority set(1);
    const AnsweredCalls calls({.openError = ERROR_ACCESS_DENIED});
    EXPECT_EQ(Exec::elevateWindowsPriority(), "");
    EXPECT_EQ(gAnswers.calls, Calls{});
    EXPECT_EQ(gRaisePriority, 1);
}

TEST(ElevateWindowsPriorityTest, ASecondCallBelowVersion61DoesNothing) {
    const RaisedPriority clear;
    const AnsweredCalls calls({});
    static_cast<void>(Exec::elevateWindowsPriority());
    EXPECT_EQ(gAnswers.calls.size(), 4U);
    EXPECT_EQ(Exec::elevateWindowsPriority(), "");
    EXPECT_EQ(gAnswers.calls.size(), 4U);
}

TEST(ElevateWindowsPriorityTest, AFailureIsReportedWithTheSystemsMessageAndRaisesNothing) {
    struct Row {
        Answers answers;
        DWORD error;
        const char* text;
        Calls calls;
    };
    const char* const open = "Exec::elevateWindowsPriority couldn't open process token: ";
    const char* const change = "Exec::elevateWindowsPriority couldn't change process token: ";
    for (const auto& [answers, error, text, expectedCalls] : {
             Row{{.openError = ERROR_ACCESS_DENIED}, ERROR_ACCESS_DENIED, open, {"open"}},
             Row{{.lookupError = ERROR_NO_SUCH_PRIVILEGE},
                 ERROR_NO_SUCH_PRIVILEGE,
                 change,
                 {"open", "look up"}},
             Row{{.isAdjusted = FALSE, .adjustError = ERROR_INVALID_HANDLE},
                 ERROR_INVALID_HANDLE,
                 change,
                 {"open", "look up", "adjust"}},
             Row{{.adjustError = ERROR_NOT_ALL_ASSIGNED},
                 ERROR_NOT_ALL_ASSIGNED,
                 change,
                 {"open", "look up", "adjust"}},
         }) {
        const RaisedPriority clear;
        const SystemMessage message(L"That isn't allowed.\r\n");
        {
            const AnsweredCalls calls(answers);
            EXPECT_EQ(Exec::elevateWindowsPriority(),
                      std::string(text).append("That isn't allowed"));
        }
        EXPECT_EQ(gAnswers.calls, expectedCalls);
        ASSERT_EQ(message.calls().size(), 1U);
        EXPECT_EQ(message.calls()[0].number, error);
        EXPECT_EQ(gRaisePriority, 0);
        EXPECT_FALSE(isHandle(gAnswers.token));
    }
}

/// Whether this process holds a privilege, and whether it is enabled.
struct Privilege {
    bool isHeld = false;
    bool isEnabled = false;
};

Privilege basePriorityPrivilege() {
    HANDLE token = nullptr;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    DWORD size = 0;
    GetTokenInformation(token, TokenPrivileges, nullptr, 0, &size);
    std::vector<std::byte> buffer(size);
    EXPECT_TRUE(GetTokenInformation(token, TokenPrivileges, buffer.data(), size, &size));
    CloseHandle(token);
    LUID luid{};
    EXPECT_TRUE(LookupPrivilegeValueA(nullptr, "SeIncreaseBasePriorityPrivilege", &luid));
    const auto* list = reinterpret_cast<const TOKEN_PRIVILEGES*>(buffer.data());
    for (DWORD i = 0; i < list->PrivilegeCount; ++i) {
        const LUID_AND_ATTRIBUTES& one = list->Privileges[i];
        if (one.Luid.LowPart == luid.LowPart && one.Luid.HighPart == luid.HighPart) {
            return {true, (one.Attributes & SE_PRIVILEGE_ENABLED) != 0};
        }
    }
    return {};
}

void enableBasePriorityPrivilege(bool isEnabled) {
    HANDLE token = nullptr;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
    TOKEN_PRIVILEGES state{};
    state.PrivilegeCount = 1;
    EXPECT_TRUE(LookupPrivilegeValueA(nullptr, "SeIncreaseBasePriorityPrivilege",
                                      &state.Privileges[0].Luid));
    state.Privileges[0].Attributes = isEnabled ? DWORD{SE_PRIVILEGE_ENABLED} : 0;
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &state, 0, nullptr, nullptr));
    CloseHandle(token);
}

TEST(ElevateWindowsPriorityTest, OnThisMachineThePrivilegeIsOnAfterwards) {
    if (!basePriorityPrivilege().isHeld) {
        GTEST_SKIP() << "this user does not hold the privilege";
    }
    const RaisedPriority clear;
    const bool wasEnabled = basePriorityPrivilege().isEnabled;
    enableBasePriorityPrivilege(false);
    EXPECT_FALSE(basePriorityPrivilege().isEnabled);
    EXPECT_EQ(Exec::elevateWindowsPriority(), "");
    EXPECT_TRUE(basePriorityPrivilege().isEnabled);
    enableBasePriorityPrivilege(wasEnabled);
    EXPECT_EQ(gRaisePriority, 0) << "this Windows is not below version 6.1";
}

TEST(ElevateWindowsPriorityTest, OnThisMachineAMissingPrivilegeIsReported) {
    if (basePriorityPrivilege().isHeld) {
        GTEST_SKIP() << "this user holds the privilege";
    }
    const RaisedPriority clear;
    const uint32_t error = ERROR_NOT_ALL_ASSIGNED;
    EXPECT_EQ(Exec::elevateWindowsPriority(),
              std::string("Exec::elevateWindowsPriority couldn't change process token: ")
                  .append(lastErrorText(/*withCode=*/false, &error, errorOfSystem)));
}

}  // namespace
