#include "testing/counts/ownershipcount-win.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

namespace {

using namespace testing_support;

// The calls are outside the tests' bodies, so that they reach the replacements.

/// Something to acquire, and how to release it.
struct Row {
    const char* mName;
    void* (*mAcquire)();
    void (*mRelease)(void*);
    OwnedResources mHeld;
};

void freeLocal(void* memory) { LocalFree(memory); }

SID_IDENTIFIER_AUTHORITY gAuthority = SECURITY_NT_AUTHORITY;

void* localMemory() { return LocalAlloc(LMEM_FIXED, 10); }

void* sid() {
    PSID sid = nullptr;
    AllocateAndInitializeSid(&gAuthority, 1, SECURITY_LOCAL_SYSTEM_RID, 0, 0, 0, 0, 0, 0, 0, &sid);
    return sid;
}

void* sidOfText() {
    PSID sid = nullptr;
    ConvertStringSidToSidW(L"S-1-5-18", &sid);
    return sid;
}

void* textOfSid() {
    SID system = {SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_LOCAL_SYSTEM_RID}};
    wchar_t* text = nullptr;
    ConvertSidToStringSidW(&system, &text);
    return text;
}

EXPLICIT_ACCESS_W gAccess = {GENERIC_READ,
                             GRANT_ACCESS,
                             NO_INHERITANCE,
                             {nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_NAME, TRUSTEE_IS_UNKNOWN,
                              const_cast<wchar_t*>(L"CURRENT_USER")}};

void* aclOfEntries() {
    PACL acl = nullptr;
    SetEntriesInAclW(1, &gAccess, nullptr, &acl);
    return acl;
}

void* entriesOfAcl() {
    const PACL acl = static_cast<PACL>(aclOfEntries());
    ULONG count = 0;
    PEXPLICIT_ACCESS_W entries = nullptr;
    GetExplicitEntriesFromAclW(acl, &count, &entries);
    LocalFree(acl);
    return entries;
}

void* descriptorOfText() {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(L"O:SY", SDDL_REVISION_1, &descriptor,
                                                         nullptr);
    return descriptor;
}

void* textOfDescriptor() {
    SECURITY_DESCRIPTOR descriptor = {};
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    wchar_t* text = nullptr;
    ConvertSecurityDescriptorToStringSecurityDescriptorW(&descriptor, SDDL_REVISION_1,
                                                         DACL_SECURITY_INFORMATION, &text, nullptr);
    return text;
}

void* builtDescriptor() {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ULONG size = 0;
    BuildSecurityDescriptorW(nullptr, nullptr, 0, nullptr, 0, nullptr, nullptr, &size, &descriptor);
    return descriptor;
}

void* descriptorOfFolder() {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    wchar_t name[] = L"C:\\windows";
    GetNamedSecurityInfoW(name, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, nullptr, nullptr,
                          nullptr, nullptr, &descriptor);
    return descriptor;
}

void* descriptorOfProcess() {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    GetSecurityInfo(GetCurrentProcess(), SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, nullptr,
                    nullptr, nullptr, nullptr, &descriptor);
    return descriptor;
}

void* privateDescriptor() {
    HANDLE token = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token);
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    GENERIC_MAPPING mapping = {};
    CreatePrivateObjectSecurityEx(nullptr, nullptr, &descriptor, nullptr, FALSE, 0, token,
                                  &mapping);
    CloseHandle(token);
    return descriptor;
}

void* event() { return CreateEventW(nullptr, FALSE, FALSE, nullptr); }

// Stored where the compiler can't see that it is never read.
void* volatile gKept = nullptr;

void* keep(void* memory) {
    gKept = memory;
    return memory;
}

const Row rows[] = {
    {"LocalAlloc", localMemory, freeLocal, {.mLocalBlocks = 1}},
    {"AllocateAndInitializeSid", sid, [](void* it) { FreeSid(it); }, {.mSids = 1}},
    {"ConvertStringSidToSidW", sidOfText, freeLocal, {.mLocalBlocks = 1}},
    {"ConvertSidToStringSidW", textOfSid, freeLocal, {.mLocalBlocks = 1}},
    {"SetEntriesInAclW", aclOfEntries, freeLocal, {.mLocalBlocks = 1}},
    {"GetExplicitEntriesFromAclW", entriesOfAcl, freeLocal, {.mLocalBlocks = 1}},
    {"ConvertStringSecurityDescriptor", descriptorOfText, freeLocal, {.mLocalBlocks = 1}},
    {"ConvertSecurityDescriptorToString", textOfDescriptor, freeLocal, {.mLocalBlocks = 1}},
    {"BuildSecurityDescriptorW", builtDescriptor, freeLocal, {.mLocalBlocks = 1}},
    {"GetNamedSecurityInfoW", descriptorOfFolder, freeLocal, {.mLocalBlocks = 1}},
    {"GetSecurityInfo", descriptorOfProcess, freeLocal, {.mLocalBlocks = 1}},
    {"CreatePrivateObjectSecurityEx",
     privateDescriptor,
     [](void* it) { DestroyPrivateObjectSecurity(&it); },
     {.mPrivateDescriptors = 1}},
    {"new[]",
     [] { return keep(new char[10]); },
     [](void* it) { delete[] static_cast<char*>(it); },
     {.mArrays = 1}},
    {"new",
     [] { return keep(new int(1)); },
     [](void* it) { delete static_cast<int*>(it); },
     {.mObjects = 1}},
    {"CreateEventW", event, [](void* it) { CloseHandle(it); }, {.mHandles = 1}},
};

TEST(OwnershipCountTest, WhatIsAcquiredCountsUntilItGoesBack) {
    for (const Row& row : rows) {
        const OwnershipCount count;
        void* const memory = row.mAcquire();
        EXPECT_NE(memory, nullptr) << row.mName;
        EXPECT_EQ(count.held(), row.mHeld) << row.mName;
        row.mRelease(memory);
        EXPECT_EQ(count.held(), OwnedResources()) << row.mName;
    }
}

TEST(OwnershipCountTest, ACallThatFailsCountsNothing) {
    const OwnershipCount count;
    PSID made = nullptr;
    EXPECT_FALSE(ConvertStringSidToSidW(L"no SID", &made));
    EXPECT_FALSE(AllocateAndInitializeSid(&gAuthority, 9, 0, 0, 0, 0, 0, 0, 0, 0, &made));
    EXPECT_EQ(count.held(), OwnedResources());
}

TEST(OwnershipCountTest, WhatGoesBackByAnotherWayStaysOnTheCount) {
    const OwnershipCount count;
    void* const memory = localMemory();
    FreeSid(memory);
    EXPECT_EQ(count.held(), (OwnedResources{.mLocalBlocks = 1, .mStrayReleases = 1}));
}

TEST(OwnershipCountTest, AnArrayThatIsDeletedAsAnObjectStaysOnTheCount) {
    const OwnershipCount count;
    // NOLINTNEXTLINE(clang-analyzer-unix.MismatchedDeallocator): the mistake under test
    ::operator delete(keep(::operator new[](10)));
    EXPECT_EQ(count.held(), (OwnedResources{.mArrays = 1, .mObjects = -1}));
    // Both forms use the same memory here. This balances the count.
    ::operator delete[](keep(::operator new(10)));
    EXPECT_EQ(count.held(), OwnedResources());
}

TEST(OwnershipCountTest, ABlockThatWasNotSeenBeingHandedOutGoesBackAsAStray) {
    HLOCAL memory = LocalAlloc(LMEM_FIXED, 10);
    const OwnershipCount count;
    freeLocal(memory);
    EXPECT_EQ(count.held(), OwnedResources{.mStrayReleases = 1});
}

TEST(OwnershipCountTest, NullCanBeGivenBackAnyTime) {
    const OwnershipCount count;
    freeLocal(nullptr);
    delete static_cast<int*>(keep(nullptr));
    EXPECT_EQ(count.held(), OwnedResources());
}

TEST(OwnershipCountTest, ARestartTakesWhatIsHeldForNothing) {
    OwnershipCount count;
    void* const first = localMemory();
    count.restart();
    EXPECT_EQ(count.held(), OwnedResources());
    freeLocal(first);
    EXPECT_EQ(count.held(), OwnedResources{.mLocalBlocks = -1});
}

TEST(OwnershipCountTest, LocalMemoryThatIsLeftCanBeGivenBackAndCounted) {
    OwnershipCount count;
    const void* const left = localMemory();
    EXPECT_NE(left, nullptr);
    sidOfText();
    EXPECT_EQ(count.freeLocalMemory(), 2U);
    EXPECT_EQ(count.freeLocalMemory(), 0U);
    EXPECT_EQ(count.held(), OwnedResources());
}

TEST(OwnershipCountTest, TheCountCanBeReadInAFailure) {
    EXPECT_EQ(testing::PrintToString(OwnedResources{.mLocalBlocks = 1, .mArrays = 2}),
              "local blocks 1, SIDs 0, private descriptors 0, stray releases 0, arrays 2, "
              "objects 0, handles 0");
}

/// The fixture as a test uses it, run by hand.
class RunFixture : public OwnershipTest {
public:
    void TestBody() override {}
    void run(const Row& row, bool isReleasedWithin) {
        SetUp();
        void* const memory = row.mAcquire();
        if (isReleasedWithin) {
            row.mRelease(memory);
        }
        TearDown();
        if (!isReleasedWithin) {
            row.mRelease(memory);
        }
    }
};

TEST(OwnershipTestTest, ATestThatLeavesNothingPasses) {
    for (const Row& row : rows) {
        RunFixture().run(row, /*isReleasedWithin=*/true);
    }
}

TEST(OwnershipTestTest, ATestThatLeaksFailsWhateverItLeaks) {
    for (const Row& row : rows) {
        static const Row* gRow;  // the macro's statement can't use locals
        gRow = &row;
        EXPECT_NONFATAL_FAILURE(RunFixture().run(*gRow, /*isReleasedWithin=*/false),
                                "mOwnership.held()");
    }
}

}  // namespace
