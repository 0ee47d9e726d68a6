#include <cstddef>
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

class ExplicitAccessTest : public testing_support::OwnershipTest {
protected:
    /// Grants the permissions to the SID.
    static EXPLICIT_ACCESS_W grantTo(const SecurityIdentifier& sid, DWORD permissions) {
        EXPLICIT_ACCESS_W access = {permissions, GRANT_ACCESS, NO_INHERITANCE, {}};
        BuildTrusteeWithSidW(&access.Trustee, sid.sid());
        return access;
    }

    const SecurityIdentifier mEveryone{WinWorldSid, nullptr};
    const SecurityIdentifier mSystem{WinLocalSystemSid, nullptr};
};

constexpr char accountName[] = "An account whose name isn't short: J\u00f6rg";

TEST_F(ExplicitAccessTest, OneByNameHoldsAStructAndTheName) {
    std::string name = accountName;
    {
        const ExplicitAccess access(name.c_str(), 0x1234, DENY_ACCESS,
                                    SUB_CONTAINERS_AND_OBJECTS_INHERIT);
        name.clear();
        EXPECT_TRUE(access.isOwner());
        // The struct, its name, and the string above.
        EXPECT_EQ(mOwnership.held(), OwnedResources{.mObjects = 3});
        EXPECT_EQ(access.permissions(), 0x1234U);
        EXPECT_EQ(access.mode(), DENY_ACCESS);
        EXPECT_EQ(access.inheritance(), DWORD{SUB_CONTAINERS_AND_OBJECTS_INHERIT});
        const Trustee trustee = access.trustee();
        EXPECT_EQ(trustee.form(), TRUSTEE_IS_NAME);
        EXPECT_EQ(trustee.name(), accountName);
        EXPECT_EQ(trustee.trustee().ptstrName, access.access()->Trustee.ptstrName);
    }
}

TEST_F(ExplicitAccessTest, AViewLeavesTheStructAndSharesItsTrustee) {
    EXPLICIT_ACCESS_W raw = grantTo(mSystem, 5);
    {
        const ExplicitAccess view(&raw);
        EXPECT_FALSE(view.isOwner());
        EXPECT_EQ(view.access(), &raw);
        EXPECT_EQ(view.permissions(), 5U);
        EXPECT_EQ(view.mode(), GRANT_ACCESS);
        EXPECT_EQ(view.inheritance(), DWORD{NO_INHERITANCE});
        EXPECT_EQ(view.trustee().sid().sid(), mSystem.sid());
        EXPECT_EQ(mOwnership.held(), OwnedResources());
    }
    EXPECT_EQ(raw.grfAccessPermissions, 5U);
}

TEST_F(ExplicitAccessTest, AListCanBeAView) {
    EXPLICIT_ACCESS_W raw[] = {grantTo(mSystem, 1), grantTo(mEveryone, 2)};
    {
        const ExplicitAccessList view(raw, 2);
        EXPECT_FALSE(view.isOwner());
        EXPECT_EQ(view.entries(), raw);
        EXPECT_EQ(view.count(), 2U);
    }
    EXPECT_EQ(mOwnership.held(), OwnedResources());
}

TEST_F(ExplicitAccessTest, AnAclIsMadeOfAListAndGivesItBackAsAnOwner) {
    EXPLICIT_ACCESS_W raw[] = {grantTo(mSystem, 1), grantTo(mEveryone, 2)};
    const AccessControlList acl(ExplicitAccessList(raw, 2));
    EXPECT_TRUE(acl.isOwner());
    EXPECT_TRUE(acl.isValid());
    EXPECT_EQ(acl.aceCount(), 2U);
    EXPECT_TRUE(acl.allows(mSystem, 1, 0));
    EXPECT_TRUE(acl.allows(mEveryone, 2, 0));
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 1});
    const ExplicitAccessList entries = acl.explicitEntries();
    EXPECT_TRUE(entries.isOwner());
    ASSERT_EQ(entries.count(), 2U);
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 2});
    for (ULONG index = 0; index < entries.count(); ++index) {
        const ExplicitAccess entry(&entries.entries()[index]);
        EXPECT_EQ(entry.permissions(), entry.trustee().sid() == mSystem ? 1U : 2U);
        EXPECT_EQ(entry.mode(), GRANT_ACCESS);
    }
}

TEST_F(ExplicitAccessTest, AMergeMakesAnOwnerOfAViewAndLeavesWhatItViewed) {
    EXPLICIT_ACCESS_W first = grantTo(mSystem, 1);
    EXPLICIT_ACCESS_W second = grantTo(mEveryone, 2);
    const AccessControlList owner(ExplicitAccessList(&first, 1));
    AccessControlList merged(owner.acl());
    EXPECT_EQ(merged.aceCount(), 1U);
    merged.merge(ExplicitAccessList(&second, 1));
    EXPECT_TRUE(merged.isOwner());
    EXPECT_NE(merged.acl(), owner.acl());
    EXPECT_EQ(merged.aceCount(), 2U);
    EXPECT_TRUE(merged.allows(mSystem, 1, 0));
    EXPECT_TRUE(merged.allows(mEveryone, 2, 0));
    EXPECT_TRUE(owner.isValid());
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 2});
}

TEST_F(ExplicitAccessTest, AMergeGivesBackTheOldListOfAnOwner) {
    EXPLICIT_ACCESS_W first = grantTo(mSystem, 1);
    EXPLICIT_ACCESS_W second = grantTo(mEveryone, 2);
    AccessControlList acl(ExplicitAccessList(&first, 1));
    acl.merge(ExplicitAccessList(&second, 1));
    EXPECT_EQ(acl.aceCount(), 2U);
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 1});
}

TEST_F(ExplicitAccessTest, ANullListCanBeMergedInto) {
    EXPLICIT_ACCESS_W first = grantTo(mSystem, 1);
    AccessControlList acl;
    acl.merge(ExplicitAccessList(&first, 1));
    EXPECT_TRUE(acl.isOwner());
    EXPECT_EQ(acl.aceCount(), 1U);
}

TEST_F(ExplicitAccessTest, AFailedMergeChangesNothing) {
    EXPLICIT_ACCESS_W first = grantTo(mSystem, 1);
    AccessControlList owner(ExplicitAccessList(&first, 1));
    AccessControlList view(owner.acl());
    EXPECT_EQ(view.aceCount(), 1U);
    const RefusedCall<decltype(SetEntriesInAclW)> refused("SetEntriesInAclW", ERROR_ACCESS_DENIED);
    const RefusedCall<decltype(GetAclInformation)> unasked("GetAclInformation", ERROR_INVALID_ACL);
    for (AccessControlList* acl : {&owner, &view}) {
        const PACL before = acl->acl();
        const bool isOwner = acl->isOwner();
        EXPECT_THROW(acl->merge(ExplicitAccessList(&first, 1)), Win32Exception);
        EXPECT_EQ(acl->acl(), before);
        EXPECT_EQ(acl->isOwner(), isOwner);
    }
    EXPECT_EQ(view.aceCount(), 1U);  // still cached
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 1});
}

/// Moves lists and views that `make` creates.
template <class List>
void expectMoves(List (*make)(bool isOwner), const testing_support::OwnershipCount& ownership) {
    for (const bool sourceOwns : {false, true}) {
        const ptrdiff_t blocks = sourceOwns ? 1 : 0;
        {
            List source = make(sourceOwns);
            const List target(std::move(source));
            EXPECT_EQ(target.isOwner(), sourceOwns);
            // NOLINTNEXTLINE(*-use-after-move,*.Move): tests the moved-from state.
            EXPECT_FALSE(source.isOwner());
            EXPECT_EQ(ownership.held(), OwnedResources{.mLocalBlocks = blocks});
        }
        for (const bool targetOwns : {false, true}) {
            List target = make(targetOwns);
            target = make(sourceOwns);
            EXPECT_EQ(target.isOwner(), sourceOwns);
            EXPECT_EQ(ownership.held(), OwnedResources{.mLocalBlocks = blocks});
            List& same = target;  // the compiler warns about a plain self-move
            target = std::move(same);
            EXPECT_EQ(target.isOwner(), sourceOwns);
            EXPECT_EQ(ownership.held(), OwnedResources{.mLocalBlocks = blocks});
        }
    }
}

ACL gAcl = {ACL_REVISION, 0, sizeof(ACL), 0, 0};
EXPLICIT_ACCESS_W gAccess = {};

TEST_F(ExplicitAccessTest, AMovedAclGoesBackOnce) {
    expectMoves<AccessControlList>(
        [](bool isOwner) {
            return isOwner ? AccessControlList(1, ACL_REVISION, false) : AccessControlList(&gAcl);
        },
        mOwnership);
}

TEST_F(ExplicitAccessTest, AMovedListOfEntriesGoesBackOnce) {
    expectMoves<ExplicitAccessList>(
        [](bool isOwner) {
            if (!isOwner) {
                return ExplicitAccessList(&gAccess, 1);
            }
            void* const memory = LocalAlloc(LPTR, sizeof(EXPLICIT_ACCESS_W));
            return ExplicitAccessList::adopt(static_cast<PEXPLICIT_ACCESS_W>(memory), 1);
        },
        mOwnership);
}

TEST_F(ExplicitAccessTest, AMoveTakesTheCountsAlong) {
    AccessControlList source(1, ACL_REVISION, false);
    EXPECT_EQ(source.aceCount(), 0U);
    const AccessControlList target(std::move(source));
    const RefusedCall<decltype(GetAclInformation)> unasked("GetAclInformation", ERROR_INVALID_ACL);
    EXPECT_EQ(target.aceCount(), 0U);
    EXPECT_EQ(target.bytesFree(), 112U);
}

TEST_F(ExplicitAccessTest, AnAdoptedAclTakesThePlaceOfTheOld) {
    AccessControlList acl(1, ACL_REVISION, false);
    const PACL raw = static_cast<PACL>(LocalAlloc(LMEM_FIXED, sizeof(ACL)));
    ASSERT_TRUE(InitializeAcl(raw, sizeof(ACL), ACL_REVISION));
    acl.adopt(raw);
    EXPECT_EQ(acl.acl(), raw);
    EXPECT_TRUE(acl.isOwner());
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 1});
}

}  // namespace
