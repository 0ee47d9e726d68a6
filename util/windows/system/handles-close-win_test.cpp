// Closing files that the System process holds open.

#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/fakesystem-win.h"
#include "testing/counts/processresources-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system/handles-win.h"

namespace {

using namespace testing_support;

constexpr NTSTATUS lengthMismatch = static_cast<NTSTATUS>(0xC0000004);
constexpr NTSTATUS accessDenied = static_cast<NTSTATUS>(0xC0000022);
constexpr NTSTATUS pending = 0x103;
constexpr DWORD copyingRights = PROCESS_DUP_HANDLE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;

TEST(CloseSystemFileHandleTest, AFileOfTheSystemProcessIsClosedAndNothingElseIsLeftOpen) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    const size_t handles = handleCount();
    EXPECT_TRUE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(handleCount(), handles - 1);
    EXPECT_TRUE(file.isFree());
}

TEST(CloseSystemFileHandleTest, ASecondCallFindsNothing) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    ASSERT_TRUE(system.inspector.closeSystemFileHandle(file.path()));
    const size_t handles = handleCount();
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(handleCount(), handles);
}

TEST(CloseSystemFileHandleTest, TheProcessIsOpenedToCopyAndTheSecondCopyClosesItsSource) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    ASSERT_TRUE(system.inspector.closeSystemFileHandle(file.path()));
    ASSERT_EQ(system.opened.size(), 1U);
    EXPECT_EQ(system.opened[0].access, copyingRights);
    EXPECT_EQ(system.opened[0].processId, systemProcess);
    EXPECT_FALSE(system.opened[0].inherits);
    ASSERT_EQ(system.copied.size(), 2U);
    EXPECT_EQ(system.copied[0].options, DWORD{DUPLICATE_SAME_ACCESS});
    EXPECT_EQ(system.copied[1].options, DWORD{DUPLICATE_CLOSE_SOURCE | DUPLICATE_SAME_ACCESS});
    EXPECT_FALSE(system.copied[1].hasEarlierCopy);
    for (const FakeSystem::Copied& copy : system.copied) {
        EXPECT_TRUE(copy.fromSystem);
        EXPECT_FALSE(copy.inherits);
    }
}

TEST(CloseSystemFileHandleTest, EntriesOfOtherProcessesAreNotTouched) {
    const HeldFile file;
    Inspected system({{0, file.handle()},
                      {5, file.handle()},
                      {GetCurrentProcessId(), file.handle()},
                      {0x10004, file.handle()}});
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_TRUE(system.opened.empty());
    EXPECT_TRUE(system.copied.empty());
    EXPECT_FALSE(file.isFree());
}

TEST(CloseSystemFileHandleTest, OnlyTheFirstHandleOfAFileIsClosed) {
    const HeldFile file;
    // Not in a ScopedHandle: the call under test closes it.
    const HANDLE second = CreateFileW(file.path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    Inspected system({{systemProcess, second}, {systemProcess, file.handle()}});
    EXPECT_TRUE(system.inspector.closeSystemFileHandle(file.path()));
    DWORD flags = 0;
    EXPECT_FALSE(GetHandleInformation(second, &flags));
    EXPECT_TRUE(GetHandleInformation(file.handle(), &flags));
}

TEST(CloseSystemFileHandleTest, WhatIsNoFileAndOtherFilesArePassedOver) {
    const HeldFile other;
    const HeldFile file;
    const ScopedHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const auto none = reinterpret_cast<HANDLE>(0xfff0);
    Inspected system({{systemProcess, event.get()},
                      {systemProcess, none},
                      {systemProcess, other.handle()},
                      {8, file.handle()},
                      {systemProcess, file.handle()}});
    const size_t handles = handleCount();
    EXPECT_TRUE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(handleCount(), handles - 1);
    EXPECT_EQ(system.opened.size(), 4U);
    EXPECT_TRUE(file.isFree());
    EXPECT_FALSE(other.isFree());
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(event.get(), &flags));
}

TEST(CloseSystemFileHandleTest, WithoutTheSystemProcessNothingIsFound) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}, {systemProcess, file.handle()}});
    system.refusesProcess = true;
    const size_t handles = handleCount();
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(handleCount(), handles);
    EXPECT_FALSE(file.isFree());
}

TEST(CloseSystemFileHandleTest, ATableOfOneEntryIsHadAtOnceAndALargerOneAtTheSecondTry) {
    const HeldFile file;
    {
        Inspected system({{5, file.handle()}});
        EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
        EXPECT_EQ(system.rooms, std::vector<ULONG>{32});
    }
    Inspected system({{5, file.handle()}, {5, file.handle()}, {systemProcess, file.handle()}});
    EXPECT_TRUE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(system.rooms, (std::vector<ULONG>{32, 80}));
}

TEST(CloseSystemFileHandleTest, ATableThatGrowsBetweenTheTriesIsAFailure) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    system.statuses = {lengthMismatch, lengthMismatch};
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(system.rooms.size(), 2U);
    EXPECT_FALSE(file.isFree());
}

TEST(CloseSystemFileHandleTest, AnyOtherStatusIsAFailureAtOnce) {
    const HeldFile file;
    for (const NTSTATUS status : {accessDenied, pending, NTSTATUS{1}}) {
        Inspected system({{systemProcess, file.handle()}});
        system.statuses = {status};
        EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
        EXPECT_EQ(system.rooms.size(), 1U);
    }
    EXPECT_FALSE(file.isFree());
}

TEST(CloseSystemFileHandleTest, AnyOtherStatusIsAFailureAtTheSecondTryToo) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    system.statuses = {lengthMismatch, accessDenied};
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(system.rooms.size(), 2U);
}

TEST(CloseSystemFileHandleTest, AnEmptyTableHoldsNothing) {
    Inspected system({});
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(L"c:/x"));
}

TEST(CloseSystemFileHandleTest, ATableThatClaimsMoreEntriesThanItHasEndsWithItsBytes) {
    const HeldFile other;
    const HeldFile file;
    for (const std::vector<TableEntry>& entries :
         {std::vector<TableEntry>{{systemProcess, other.handle()}},
          std::vector<TableEntry>{{systemProcess, other.handle()},
                                  {systemProcess, other.handle()}}}) {
        Inspected system(entries);
        system.claimCount(0xffffffff);
        EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
        EXPECT_EQ(system.opened.size(), entries.size());
    }
}

TEST(CloseSystemFileHandleTest, WithoutANativeFunctionNothingIsFound) {
    const HeldFile file;
    Inspected noTable({{systemProcess, file.handle()}});
    noTable.inspector.mNtQuerySystemInformation = nullptr;
    EXPECT_FALSE(noTable.inspector.closeSystemFileHandle(file.path()));
}

TEST(CloseSystemFileHandleTest, WithoutTheFunctionForTypesOrNamesNothingIsFoundOrLeaked) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    const size_t handles = handleCount();
    const auto queryObject = system.inspector.mNtQueryObject;
    system.inspector.mNtQueryObject = nullptr;
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
    system.inspector.mNtQueryObject = queryObject;
    system.inspector.mNtQueryInformationFile = nullptr;
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(file.path()));
    EXPECT_EQ(handleCount(), handles);
    EXPECT_FALSE(file.isFree());
}

TEST(CloseSystemFileHandleTest, TheRealTableHoldsNoFileOfASystemProcessThatCannotBeOpened) {
    const HeldFile file;
    HandleInspector inspector;
    if (ScopedHandle(OpenProcess(copyingRights, FALSE, systemProcess)).isOpen()) {
        GTEST_SKIP() << "the System process can be opened, and some of its files, pipes that are "
                        "waited on, never tell their names";
    }
    EXPECT_FALSE(inspector.closeSystemFileHandle(file.path()));
    EXPECT_FALSE(file.isFree());
}

}  // namespace
