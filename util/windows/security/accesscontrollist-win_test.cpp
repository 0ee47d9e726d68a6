#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"
#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/trustee-win.h"

namespace {

using namespace testing_support;

constexpr DWORD errorCode = ERROR_NOT_ENOUGH_MEMORY;

AccessControlList emptyAcl() { return {/*aceCount=*/10, ACL_REVISION_DS, /*limitSize=*/false}; }

class AccessControlListTest : public testing_support::OwnershipTest {
protected:
    /// Adds an allowing ACE.
    void add(AccessControlList& acl, DWORD index, ACCESS_MASK mask) const {
        acl.addAce(ACL_REVISION_DS, index, AccessControlEntry::allowed(mask, mEveryone, 0));
    }

    const SecurityIdentifier mEveryone{WinWorldSid, nullptr};
};

std::vector<ACCESS_MASK> masksOf(const AccessControlList& acl) {
    std::vector<ACCESS_MASK> masks;
    for (DWORD index = 0; index < acl.aceCount(); ++index) {
        masks.push_back(acl.ace(index).mask());
    }
    return masks;
}

TEST_F(AccessControlListTest, ANullListIsAViewThatIsNotValidAndWindowsIsNotAsked) {
    const RefusedCall<decltype(IsValidAcl)> call("IsValidAcl", errorCode);
    const AccessControlList nothing;
    EXPECT_EQ(nothing.acl(), nullptr);
    EXPECT_FALSE(nothing.isOwner());
    EXPECT_FALSE(nothing.isValid());
    EXPECT_EQ(call.count(), 0);
}

TEST_F(AccessControlListTest, AViewOfADescriptorWithoutADaclIsNull) {
    SECURITY_DESCRIPTOR descriptor;
    ASSERT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
    BOOL isPresent = TRUE;
    BOOL isDefaulted = FALSE;
    PACL dacl = nullptr;
    ASSERT_TRUE(GetSecurityDescriptorDacl(&descriptor, &isPresent, &dacl, &isDefaulted));
    EXPECT_FALSE(AccessControlList(dacl).isValid());
}

TEST_F(AccessControlListTest, ItsSizeIsThatOfSoManyAcesAndTheLimitCutsIt) {
    const struct {
        DWORD mAces;
        bool mIsLimited;
        DWORD mBytes;
    } rows[] = {{0, false, 8},    {1, false, 120},   {1, true, 120},      {17, true, 1912},
                {18, true, 2000}, {18, false, 2024}, {100, false, 11208}, {100, true, 2000}};
    for (const auto& row : rows) {
        const AccessControlList acl(row.mAces, ACL_REVISION, row.mIsLimited);
        EXPECT_TRUE(acl.isOwner());
        EXPECT_TRUE(acl.isValid());
        EXPECT_EQ(acl.acl()->AclSize, row.mBytes);
        EXPECT_EQ(acl.acl()->AclRevision, ACL_REVISION);
        EXPECT_EQ(acl.aceCount(), 0U);
        EXPECT_EQ(acl.bytesInUse(), 8U);
        EXPECT_EQ(acl.bytesFree(), row.mBytes - 8);
        EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 1});
    }
    EXPECT_EQ(AccessControlList(1, ACL_REVISION_DS, false).acl()->AclRevision, ACL_REVISION_DS);
}

TEST_F(AccessControlListTest, AFailedInitialisationLeavesItsMemory) {
    expectFailedCall("InitializeAcl", ERROR_INVALID_PARAMETER,
                     [] { AccessControlList(1, /*revision=*/77, false); });
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 1});
    EXPECT_EQ(mOwnership.freeLocalMemory(), 1U);
}

TEST_F(AccessControlListTest, RoomForMoreThan585AcesIsMoreThanAnAclCanHave) {
    EXPECT_EQ(AccessControlList(585, ACL_REVISION, false).bytesFree(), 585U * 112);
    expectFailedCall("InitializeAcl", ERROR_INVALID_PARAMETER,
                     [] { AccessControlList(586, ACL_REVISION, false); });
    EXPECT_EQ(mOwnership.freeLocalMemory(), 1U);
    EXPECT_EQ(AccessControlList(586, ACL_REVISION, /*limitSize=*/true).acl()->AclSize, 2000U);
}

TEST_F(AccessControlListTest, AViewTakesNothingAndLeavesTheBytes) {
    alignas(DWORD) BYTE bytes[100] = {};
    const PACL raw = reinterpret_cast<PACL>(bytes);
    ASSERT_TRUE(InitializeAcl(raw, sizeof bytes, ACL_REVISION_DS));
    {
        AccessControlList view(raw);
        EXPECT_EQ(view.acl(), raw);
        EXPECT_FALSE(view.isOwner());
        add(view, AccessControlList::atEnd, 1);
    }
    EXPECT_EQ(AccessControlList(raw).aceCount(), 1U);
}

TEST_F(AccessControlListTest, AnAceIsReadAsAView) {
    AccessControlList acl = emptyAcl();
    add(acl, AccessControlList::atEnd, 1);
    add(acl, AccessControlList::atEnd, 2);
    EXPECT_EQ(masksOf(acl), (std::vector<ACCESS_MASK>{1, 2}));
    const AccessControlEntry ace = acl.ace(0);
    EXPECT_FALSE(ace.isOwner());
    EXPECT_EQ(static_cast<void*>(ace.ace()), acl.acl() + 1);
    EXPECT_EQ(ace.sid(), mEveryone);
}

/// What AddAce was given.
struct Added {
    PACL mAcl;
    DWORD mRevision;
    DWORD mIndex;
    LPVOID mAce;
    DWORD mSize;
    bool operator==(const Added&) const = default;
};
std::vector<Added> gAdded;

WINBOOL noteAdded(PACL acl, DWORD revision, DWORD index, LPVOID ace, DWORD size) {
    gAdded.push_back({acl, revision, index, ace, size});
    return TRUE;
}

TEST_F(AccessControlListTest, AnAceIsAddedWithItsSizeAtTheIndexAskedFor) {
    const ReplacedCall<decltype(AddAce)> call("AddAce", noteAdded);
    AccessControlList acl = emptyAcl();
    const AccessControlEntry ace = AccessControlEntry::allowed(1, mEveryone, 0);
    acl.addAce(ACL_REVISION, 7, ace);
    acl.addAce(ACL_REVISION_DS, AccessControlList::atEnd, ace);
    EXPECT_EQ(gAdded, (std::vector<Added>{{acl.acl(), ACL_REVISION, 7, ace.ace(), 20},
                                          {acl.acl(), ACL_REVISION_DS, MAXDWORD, ace.ace(), 20}}));
    gAdded = std::vector<Added>();
}

TEST_F(AccessControlListTest, AListOfAcesIsAddedFromTheStartIndexOn) {
    const ReplacedCall<decltype(AddAce)> call("AddAce", noteAdded);
    AccessControlList acl = emptyAcl();
    const SecurityIdentifier administrators("BA");
    const std::vector<AccessControlEntry> aces = {
        AccessControlEntry::allowed(1, mEveryone, 0),
        AccessControlEntry::denied(2, administrators, 0),
        AccessControlEntry::allowed(3, mEveryone, 0),
    };
    acl.addAces(ACL_REVISION, 5, {});
    acl.addAces(ACL_REVISION, 5, aces);
    EXPECT_EQ(gAdded, (std::vector<Added>{{acl.acl(), ACL_REVISION, 5, aces[0].ace(), 20},
                                          {acl.acl(), ACL_REVISION, 6, aces[1].ace(), 24},
                                          {acl.acl(), ACL_REVISION, 7, aces[2].ace(), 20}}));
    gAdded = std::vector<Added>();
}

TEST_F(AccessControlListTest, AcesAreInTheOrderOfTheirIndexes) {
    AccessControlList acl = emptyAcl();
    add(acl, AccessControlList::atEnd, 1);
    add(acl, 0, 2);
    if (acl.ace(0).mask() == 1) {
        GTEST_SKIP() << "this system adds at the end whatever the index";
    }
    acl.addAces(ACL_REVISION_DS, 1,
                {AccessControlEntry::allowed(3, mEveryone, 0),
                 AccessControlEntry::denied(4, mEveryone, 0)});
    EXPECT_EQ(masksOf(acl), (std::vector<ACCESS_MASK>{2, 3, 4, 1}));
}

TEST_F(AccessControlListTest, AListOfAcesThatHasNoRoomLeavesWhatItHasAdded) {
    AccessControlList acl(/*aceCount=*/1, ACL_REVISION,
                          /*limitSize=*/false);  // space for 5 ACEs of 20 bytes
    const std::vector<AccessControlEntry> aces(6, AccessControlEntry::allowed(1, mEveryone, 0));
    EXPECT_EQ(acl.aceCount(), 0U);
    EXPECT_THROW(acl.addAces(ACL_REVISION, 0, aces), Win32Exception);
    EXPECT_EQ(acl.aceCount(), 5U);
}

TEST_F(AccessControlListTest, AnAceIsDeletedAtItsIndex) {
    AccessControlList acl = emptyAcl();
    add(acl, 0, 1);
    add(acl, 1, 2);
    add(acl, 2, 3);
    acl.deleteAce(1);
    EXPECT_EQ(masksOf(acl), (std::vector<ACCESS_MASK>{1, 3}));
    expectFailedCall("DeleteAce", ERROR_INVALID_PARAMETER, [&] { acl.deleteAce(2); });
    EXPECT_EQ(acl.aceCount(), 2U);
}

TEST_F(AccessControlListTest, EachFailureNamesItsCall) {
    AccessControlList acl = emptyAcl();
    add(acl, 0, 1);
    const ExplicitAccessList none(nullptr, 0);
    const auto expectRefusal = [](auto* function, const char* name, auto steps) {
        const RefusedCall<std::remove_pointer_t<decltype(function)>> call(name, errorCode);
        expectFailedCall(name, errorCode, steps);
    };
    expectRefusal(&GetAclInformation, "GetAclInformation", [&] { acl.refresh(); });
    expectRefusal(&GetAclInformation, "GetAclInformation",
                  [&] { static_cast<void>(acl.aceCount()); });
    expectRefusal(&GetAclInformation, "GetAclInformation",
                  [&] { static_cast<void>(acl.bytesInUse()); });
    expectRefusal(&GetAclInformation, "GetAclInformation",
                  [&] { static_cast<void>(acl.bytesFree()); });
    expectRefusal(&GetAclInformation, "GetAclInformation", [&] { acl.removeAces(mEveryone); });
    expectRefusal(&GetAclInformation, "GetAclInformation",
                  [&] { static_cast<void>(acl.allows(mEveryone, 1, 0)); });
    expectRefusal(&GetAce, "GetAce", [&] { static_cast<void>(acl.ace(0)); });
    expectRefusal(&GetAce, "GetAce", [&] { static_cast<void>(acl.allows(mEveryone, 1, 0)); });
    expectRefusal(&AddAce, "AddAce", [&] { acl.addAce(ACL_REVISION, 0, acl.ace(0)); });
    expectRefusal(&DeleteAce, "DeleteAce", [&] { acl.deleteAce(0); });
    expectRefusal(&SetEntriesInAclW, "SetEntriesInAclW", [&] { AccessControlList made(none); });
    expectRefusal(&SetEntriesInAclW, "SetEntriesInAclW", [&] { acl.merge(none); });
    expectRefusal(&GetExplicitEntriesFromAclW, "GetExplicitEntriesFromAclW",
                  [&] { static_cast<void>(acl.explicitEntries()); });
    EXPECT_EQ(masksOf(acl), std::vector<ACCESS_MASK>{1});
}

TEST_F(AccessControlListTest, AnIndexBeyondTheAcesFails) {
    const AccessControlList acl = emptyAcl();
    expectFailedCall("GetAce", ERROR_INVALID_PARAMETER, [&] { static_cast<void>(acl.ace(0)); });
}

/// Calls Windows and counts the calls.
int gAsked = 0;
decltype(GetAclInformation)* gGetAclInformation = nullptr;
WINBOOL countedInformation(PACL acl, LPVOID result, DWORD size, ACL_INFORMATION_CLASS kind) {
    ++gAsked;
    EXPECT_EQ(kind, AclSizeInformation);
    return gGetAclInformation(acl, result, size, kind);
}

TEST_F(AccessControlListTest, TheCountsAreKeptUntilAChange) {
    const ReplacedCall<decltype(GetAclInformation)> call("GetAclInformation", countedInformation);
    gGetAclInformation = call.original();
    gAsked = 0;
    AccessControlList acl = emptyAcl();
    const auto expectAsked = [&](int times, DWORD aceCount) {
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(acl.aceCount(), aceCount);
            EXPECT_EQ(acl.bytesInUse(), 8 + aceCount * 20);
            EXPECT_EQ(acl.bytesFree(), 10 * 112 - aceCount * 20);
        }
        EXPECT_EQ(gAsked, times);
    };
    expectAsked(1, 0);
    add(acl, 0, 1);
    expectAsked(2, 1);
    acl.addAces(ACL_REVISION, 0, std::vector<AccessControlEntry>(3, acl.ace(0)));
    expectAsked(3, 4);
    acl.deleteAce(0);
    expectAsked(4, 3);
    acl.removeAces(mEveryone);
    expectAsked(5, 0);
    // Changes the ACL without the object.
    ASSERT_TRUE(AddAccessAllowedAce(acl.acl(), ACL_REVISION_DS, 1, mEveryone.sid()));
    expectAsked(5, 0);
    acl.refresh();
    expectAsked(6, 1);
    acl.refresh();
    expectAsked(7, 1);
}

TEST_F(AccessControlListTest, AnAceOfTheListItselfIsCopiedBeforeTheListChanges) {
    AccessControlList acl = emptyAcl();
    add(acl, AccessControlList::atEnd, 1);
    add(acl, AccessControlList::atEnd, 2);
    static const BYTE* added;
    static ACCESS_MASK mask;
    const ReplacedCall<decltype(AddAce)> call(
        "AddAce", [](PACL, DWORD, DWORD, LPVOID ace, DWORD) -> WINBOOL {
            added = static_cast<const BYTE*>(ace);
            mask = AccessControlEntry(static_cast<ACE_HEADER*>(ace)).mask();
            return TRUE;
        });
    acl.addAce(ACL_REVISION_DS, 0, acl.ace(1));
    EXPECT_EQ(mask, 2U);
    const BYTE* const start = reinterpret_cast<const BYTE*>(acl.acl());
    EXPECT_FALSE(added >= start && added < start + acl.acl()->AclSize);
}

TEST_F(AccessControlListTest, ACountOfAcesBeyondThirtyTwoBitsOfBytesIsNoSmallOne) {
    constexpr DWORD count = 38'347'923;  // times 112, plus 8, is 88 more than 2^32
    const AccessControlList limited(count, ACL_REVISION, /*limitSize=*/true);
    EXPECT_EQ(limited.bytesInUse() + limited.bytesFree(), 2000U);
    static DWORD asked;
    // No memory is really allocated.
    const ReplacedCall<decltype(LocalAlloc)> none("LocalAlloc", [](UINT, SIZE_T size) -> HLOCAL {
        asked = static_cast<DWORD>(size);
        return nullptr;
    });
    const RefusedCall<decltype(InitializeAcl)> refused("InitializeAcl", ERROR_INVALID_PARAMETER);
    expectFailedCall("InitializeAcl", ERROR_INVALID_PARAMETER, [] {
        const AccessControlList unlimited(count, ACL_REVISION, /*limitSize=*/false);
    });
    EXPECT_EQ(asked, MAXDWORD);
}

}  // namespace
