#include "util/windows/system/handles-win.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/libraryfunction-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

void* nativeFunction(const char* name) {
    return reinterpret_cast<void*>(findFunction<void()>(GetModuleHandleW(L"ntdll.dll"), name));
}

void expectFunctions(const HandleInspector& inspector) {
    EXPECT_EQ(reinterpret_cast<void*>(inspector.mNtQueryInformationFile),
              nativeFunction("NtQueryInformationFile"));
    EXPECT_EQ(reinterpret_cast<void*>(inspector.mNtQuerySystemInformation),
              nativeFunction("NtQuerySystemInformation"));
    EXPECT_EQ(reinterpret_cast<void*>(inspector.mNtQueryObject), nativeFunction("NtQueryObject"));
}

TEST(HandleInspectorTest, TheNativeFunctionsAreFound) {
    ASSERT_NE(nativeFunction("NtQueryObject"), nullptr);
    expectFunctions(HandleInspector());
}

TEST(HandleInspectorTest, ItsFieldsAreTheThreeFunctionsInThisOrder) {
    EXPECT_EQ(offsetof(HandleInspector, mNtQueryInformationFile), 0U);
    EXPECT_EQ(offsetof(HandleInspector, mNtQuerySystemInformation), 8U);
    EXPECT_EQ(offsetof(HandleInspector, mNtQueryObject), 16U);
    EXPECT_EQ(sizeof(HandleInspector), 24U);
}

TEST(HandleInspectorTest, ThereIsOneInspector) {
    EXPECT_EQ(&HandleInspector::instance(), &HandleInspector::instance());
    expectFunctions(HandleInspector::instance());
}

TEST(HandleInspectorTest, TheFormForInitialisersGivesBackItsArgument) {
    EXPECT_EQ(HandleInspector::instance(42), 42);
    EXPECT_EQ(HandleInspector::instance(std::string("x")), "x");
}

ScopedHandle openFile(const std::string& path) {
    return ScopedHandle(CreateFileW(System::unicodePath(path).c_str(), GENERIC_READ,
                                    FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
}

using Name = FileNameBuffer;

TEST(FileNameOfHandleTest, AFilesNameIsItsPathWithoutTheDrive) {
    const TempFolder folder;
    const std::string path = folder.write("\xE4\xB8\xAD.txt", "x");
    const ScopedHandle file = openFile(path);
    Name name = {};
    EXPECT_TRUE(HandleInspector().fileNameOfHandle(file.get(), name.data()));
    std::wstring expected = toWide(path).substr(2);
    std::replace(expected.begin(), expected.end(), L'/', L'\\');
    EXPECT_EQ(name.data(), expected);
}

TEST(FileNameOfHandleTest, AHandleThatIsNoFileHasNoName) {
    const ScopedHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    for (const HANDLE handle : {event.get(), HANDLE{nullptr}}) {
        Name name = {L'k'};
        EXPECT_FALSE(HandleInspector().fileNameOfHandle(handle, name.data()));
        EXPECT_EQ(name[0], L'k');
    }
}

uint32_t gLength = 0;
NTSTATUS gStatus = 0;

/// Fills the whole answer with the letter `n`.
NTSTATUS NTAPI answerName(HANDLE handle, IO_STATUS_BLOCK* status, void* answer, ULONG room,
                          ULONG kind) {
    EXPECT_EQ(handle, reinterpret_cast<HANDLE>(0x1234));
    EXPECT_NE(status, nullptr);
    EXPECT_EQ(room, 1000U);
    EXPECT_EQ(kind, 9U);
    std::memcpy(answer, &gLength, sizeof gLength);
    std::fill_n(static_cast<wchar_t*>(answer) + 2, 498, L'n');
    return gStatus;
}

/// Gets the name of a file for which the system answers with this length. Before the call `name` is
/// "kk...".
bool nameOfLength(uint32_t length, NTSTATUS status, Name& name) {
    gLength = length;
    gStatus = status;
    name.fill(L'k');
    HandleInspector inspector;
    inspector.mNtQueryInformationFile = answerName;
    return inspector.fileNameOfHandle(reinterpret_cast<HANDLE>(0x1234), name.data());
}

TEST(FileNameOfHandleTest, AsManyCharactersAsTheLengthSaysAreCopiedAndClosedWithANull) {
    Name name;
    for (const uint32_t length : {2U, 3U, 20U, 996U}) {
        EXPECT_TRUE(nameOfLength(length, 0, name));
        EXPECT_EQ(std::wstring(name.data()), std::wstring(length / 2, L'n')) << length;
        EXPECT_EQ(name[length / 2 + 1], L'k') << length;
    }
}

TEST(FileNameOfHandleTest, ANameOfMoreThanTheAnswerCanHoldIsCut) {
    Name name;
    for (const uint32_t length : {998U, 999U}) {
        EXPECT_TRUE(nameOfLength(length, 0, name));
        EXPECT_EQ(std::wstring(name.data()), std::wstring(498, L'n')) << length;
        EXPECT_EQ(name[499], L'k') << length;
    }
}

TEST(FileNameOfHandleTest, AnEmptyNameAndOneTooLongAreAnswersThatLeaveTheNameAlone) {
    Name name;
    for (const uint32_t length : {0U, 1000U, 1002U, 0x80000000U, 0xffffffffU}) {
        EXPECT_TRUE(nameOfLength(length, 0, name)) << length;
        EXPECT_EQ(name[0], L'k') << length;
    }
}

TEST(FileNameOfHandleTest, AnyStatusButSuccessIsAFailureThatLeavesTheNameAlone) {
    Name name;
    for (const uint32_t status : {0xC0000008U, 0x80000005U, 0x00000103U, 1U}) {
        EXPECT_FALSE(nameOfLength(2, static_cast<NTSTATUS>(status), name)) << status;
        EXPECT_EQ(name[0], L'k') << status;
    }
}

TEST(FileNameOfHandleTest, WithoutTheFunctionThereIsNoName) {
    HandleInspector inspector;
    inspector.mNtQueryInformationFile = nullptr;
    Name name = {};
    EXPECT_FALSE(inspector.fileNameOfHandle(nullptr, name.data()));
}

TEST(QueryHandleNameTest, AThreadOfItsOwnFindsTheNameAndSetsTheStatus) {
    const TempFolder folder;
    const ScopedHandle file = openFile(folder.write("a.txt", "x"));
    HandleInspector inspector;
    Name name = {};
    HandleQuery query = {file.get(), name.data(), false, &inspector};
    std::thread(queryHandleName, std::ref(query)).join();
    EXPECT_TRUE(query.status);
    EXPECT_TRUE(std::wstring(name.data()).ends_with(L"\\a.txt"));
}

TEST(QueryHandleNameTest, AFailureIsAStatusOfFalse) {
    HandleInspector inspector;
    Name name = {};
    HandleQuery query = {nullptr, name.data(), true, &inspector};
    queryHandleName(query);
    EXPECT_FALSE(query.status);
}

TEST(EnableDebugPrivilegeTest, TheProcessHasThePrivilegeIfTheErrorIsNone) {
    const DWORD error = enableDebugPrivilege();
    if (error == ERROR_NOT_ALL_ASSIGNED) {
        GTEST_SKIP() << "the user may not debug";
    }
    EXPECT_EQ(error, DWORD{ERROR_SUCCESS});
    ScopedHandle token;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.receive()));
    PRIVILEGE_SET privileges = {};
    privileges.PrivilegeCount = 1;
    ASSERT_TRUE(LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &privileges.Privilege[0].Luid));
    BOOL enabled = FALSE;
    EXPECT_TRUE(PrivilegeCheck(token.get(), &privileges, &enabled));
    EXPECT_TRUE(enabled);
}

DWORD gAdjustError = 0;
int gAdjustments = 0;

BOOL WINAPI adjust(HANDLE, BOOL disableAll, PTOKEN_PRIVILEGES privileges, DWORD, PTOKEN_PRIVILEGES,
                   PDWORD) {
    ++gAdjustments;
    EXPECT_FALSE(disableAll);
    EXPECT_EQ(privileges->PrivilegeCount, 1U);
    EXPECT_EQ(privileges->Privileges[0].Luid.LowPart, 77U);
    EXPECT_EQ(privileges->Privileges[0].Attributes, DWORD{SE_PRIVILEGE_ENABLED});
    SetLastError(gAdjustError);
    return gAdjustError == ERROR_SUCCESS || gAdjustError == ERROR_NOT_ALL_ASSIGNED;
}

BOOL WINAPI privilegeValue(LPCSTR system, LPCSTR name, PLUID value) {
    EXPECT_EQ(system, nullptr);
    EXPECT_STREQ(name, "SeDebugPrivilege");
    *value = {77, 0};
    return TRUE;
}

TEST(EnableDebugPrivilegeTest, TheErrorOfTheAdjustmentIsTheResult) {
    const ReplacedCall<decltype(LookupPrivilegeValueA)> lookup("LookupPrivilegeValueA",
                                                               privilegeValue);
    const ReplacedCall<decltype(AdjustTokenPrivileges)> call("AdjustTokenPrivileges", adjust);
    const size_t handles = handleCount();
    for (const DWORD error : {ERROR_SUCCESS, ERROR_NOT_ALL_ASSIGNED, ERROR_ACCESS_DENIED}) {
        gAdjustError = error;
        SetLastError(99);
        EXPECT_EQ(enableDebugPrivilege(), error);
    }
    EXPECT_EQ(handleCount(), handles);
}

BOOL WINAPI refuseToken(HANDLE, DWORD access, PHANDLE) {
    EXPECT_EQ(access, DWORD{TOKEN_ADJUST_PRIVILEGES});
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI refuseValue(LPCSTR, LPCSTR, PLUID) {
    SetLastError(ERROR_NO_SUCH_PRIVILEGE);
    return FALSE;
}

TEST(EnableDebugPrivilegeTest, WithoutTheTokenTheResultIsZero) {
    const ReplacedCall<decltype(OpenProcessToken)> token("OpenProcessToken", refuseToken);
    const ReplacedCall<decltype(AdjustTokenPrivileges)> call("AdjustTokenPrivileges", adjust);
    gAdjustments = 0;
    EXPECT_EQ(enableDebugPrivilege(), 0U);
    EXPECT_EQ(gAdjustments, 0);
}

TEST(EnableDebugPrivilegeTest, WithoutTheValueOfThePrivilegeTheResultIsZero) {
    const ReplacedCall<decltype(LookupPrivilegeValueA)> lookup("LookupPrivilegeValueA",
                                                               refuseValue);
    const ReplacedCall<decltype(AdjustTokenPrivileges)> call("AdjustTokenPrivileges", adjust);
    gAdjustments = 0;
    const size_t handles = handleCount();
    EXPECT_EQ(enableDebugPrivilege(), 0U);
    EXPECT_EQ(handleCount(), handles);
    EXPECT_EQ(gAdjustments, 0);
}

TEST(EnableDebugPrivilegeTest, TheInspectorEnablesItAndSurvivesAFailure) {
    {
        const ReplacedCall<decltype(LookupPrivilegeValueA)> lookup("LookupPrivilegeValueA",
                                                                   privilegeValue);
        const ReplacedCall<decltype(AdjustTokenPrivileges)> call("AdjustTokenPrivileges", adjust);
        gAdjustments = 0;
        gAdjustError = ERROR_NOT_ALL_ASSIGNED;
        expectFunctions(HandleInspector());
        EXPECT_EQ(gAdjustments, 1);
    }
    const ReplacedCall<decltype(OpenProcessToken)> token("OpenProcessToken", refuseToken);
    expectFunctions(HandleInspector());
}

TEST(ToAnsiTest, AsManyCharactersAsCountedAreConverted) {
    EXPECT_EQ(toAnsi(L"abc", 2), "ab");
    EXPECT_EQ(toAnsi(L"abc", 0), "");
    EXPECT_STREQ(toAnsi(L"abc", 2).c_str(), "ab");
    EXPECT_EQ(toAnsi(L"a\0b", 3), std::string("a\0b", 3));
}

TEST(ToAnsiTest, ALetterIsThatOfTheCodePage) {
    const std::string text = toAnsi(L"\u00E9", 1);
    std::array<wchar_t, 4> back = {};
    ASSERT_EQ(
        MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), back.data(), 4),
        1);
    if (back[0] == L'?' || back[0] == L'e') {
        GTEST_SKIP() << "the code page lacks the letter";
    }
    EXPECT_EQ(back[0], L'\u00E9');
}

TEST(CopyTextTest, AsManyCharactersAsCountedAreCopiedAndClosedWithANull) {
    std::wstring target(5, L'k');
    copyText(target.data(), L"abc", 2);
    EXPECT_EQ(target, std::wstring(L"ab\0kk", 5));
    copyText(target.data(), L"abc", 0);
    EXPECT_EQ(target, std::wstring(L"\0b\0kk", 5));
}

}  // namespace
