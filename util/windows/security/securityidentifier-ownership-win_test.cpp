#include <cstring>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/counts/ownershipcount-win.h"
#include "util/windows/security/securityidentifier-win.h"

namespace {

using namespace testing_support;

class SecurityIdentifierOwnershipTest : public testing_support::OwnershipTest {
protected:
    void expectArrays(ptrdiff_t count) const {
        EXPECT_EQ(mOwnership.held(), OwnedResources{.mArrays = count});
    }
};

constexpr SID_IDENTIFIER_AUTHORITY ntAuthority = SECURITY_NT_AUTHORITY;
constexpr char sidText[] = "S-1-5-32-544";
constexpr char otherText[] = "S-1-1-0";

SecurityIdentifier copyOf(const SecurityIdentifier& sid) { return sid; }

/// Bytes that no SecurityIdentifier owns.
struct SystemSid {
    SID mSid = {SID_REVISION, 1, ntAuthority, {SECURITY_LOCAL_SYSTEM_RID}};
};

TEST_F(SecurityIdentifierOwnershipTest, AViewTakesNoMemoryAndLeavesTheBytes) {
    SystemSid bytes;
    {
        const SecurityIdentifier nothing;
        EXPECT_EQ(nothing.sid(), nullptr);
        EXPECT_FALSE(nothing.isOwner());
        const SecurityIdentifier view(&bytes.mSid);
        EXPECT_EQ(view.sid(), &bytes.mSid);
        EXPECT_FALSE(view.isOwner());
        expectArrays(0);
    }
    EXPECT_EQ(SecurityIdentifier(&bytes.mSid).text(), "S-1-5-18");
}

TEST_F(SecurityIdentifierOwnershipTest, EveryOwnerHoldsOneArrayUntilItsEnd) {
    {
        const SecurityIdentifier wellKnown(WinWorldSid, nullptr);
        expectArrays(1);
        const SecurityIdentifier zeros(ntAuthority, BYTE{3});
        expectArrays(2);
        const SecurityIdentifier list(ntAuthority, {1, 2, 3});
        expectArrays(3);
        const SecurityIdentifier text(sidText);
        expectArrays(4);
        const SecurityIdentifier account("SYSTEM", nullptr, nullptr);
        expectArrays(5);
        const SecurityIdentifier copy = SecurityIdentifier::deepCopy(text.sid());
        expectArrays(6);
        const SecurityIdentifier domain = SecurityIdentifier("S-1-5-21-1-2-3-4").domainSid();
        expectArrays(7);
        const SecurityIdentifier user = SecurityIdentifier::currentUser();
        expectArrays(8);
    }
    expectArrays(0);
}

TEST_F(SecurityIdentifierOwnershipTest, ACopyOfAnOwnerHasBytesOfItsOwn) {
    SecurityIdentifier copy;
    {
        const SecurityIdentifier owner(sidText);
        const SecurityIdentifier second = copyOf(owner);
        expectArrays(2);
        EXPECT_TRUE(second.isOwner());
        EXPECT_NE(second.sid(), owner.sid());
        EXPECT_EQ(second, owner);
        copy = second;
        expectArrays(3);
    }
    expectArrays(1);
    EXPECT_EQ(copy.text(), sidText);
}

TEST_F(SecurityIdentifierOwnershipTest, ACopyOfAViewIsAViewOfTheSameBytes) {
    SystemSid bytes;
    const SecurityIdentifier owner(sidText);
    for (PSID sid : {PSID(&bytes.mSid), owner.sid(), PSID(nullptr)}) {
        const SecurityIdentifier view(sid);
        const SecurityIdentifier copy = copyOf(view);
        EXPECT_FALSE(copy.isOwner());
        EXPECT_EQ(copy.sid(), sid);
        expectArrays(1);
    }
}

TEST_F(SecurityIdentifierOwnershipTest, ADeepCopyOfAViewIsAnOwner) {
    SystemSid bytes;
    const SecurityIdentifier copy = SecurityIdentifier::deepCopy(&bytes.mSid);
    EXPECT_TRUE(copy.isOwner());
    bytes.mSid.SubAuthority[0] = SECURITY_LOCAL_SERVICE_RID;
    EXPECT_EQ(copy.text(), "S-1-5-18");
}

TEST_F(SecurityIdentifierOwnershipTest, AnAssignmentGivesTheOldBytesBackAndFollowsTheSource) {
    SystemSid bytes;
    for (const bool targetOwns : {false, true}) {
        for (const bool sourceOwns : {false, true}) {
            SecurityIdentifier target =
                targetOwns ? SecurityIdentifier(sidText) : SecurityIdentifier(&bytes.mSid);
            const SecurityIdentifier owner(otherText);
            const SecurityIdentifier source = sourceOwns ? owner : SecurityIdentifier(owner.sid());
            const ptrdiff_t before = sourceOwns ? 2 : 1;
            expectArrays(before + (targetOwns ? 1 : 0));
            target = source;
            expectArrays(before + (sourceOwns ? 1 : 0));
            EXPECT_EQ(target.isOwner(), sourceOwns);
            EXPECT_EQ(target.sid() == source.sid(), !sourceOwns);
            EXPECT_EQ(target.text(), otherText);
        }
    }
    EXPECT_EQ(SecurityIdentifier(&bytes.mSid).text(), "S-1-5-18");
}

TEST_F(SecurityIdentifierOwnershipTest, AssignmentToItselfKeepsTheBytes) {
    SystemSid bytes;
    SecurityIdentifier owner(sidText);
    SecurityIdentifier view(&bytes.mSid);
    for (SecurityIdentifier* sid : {&owner, &view}) {
        const SecurityIdentifier& itself = *sid;
        PSID const before = sid->sid();
        const bool isOwner = sid->isOwner();
        *sid = itself;
        EXPECT_EQ(sid->sid(), before);
        EXPECT_EQ(sid->isOwner(), isOwner);
        SecurityIdentifier& same = *sid;  // the compiler warns about a plain self-move
        *sid = std::move(same);
        EXPECT_EQ(sid->sid(), before);
        EXPECT_EQ(sid->isOwner(), isOwner);
    }
    EXPECT_EQ(owner.text(), sidText);
    expectArrays(1);
}

TEST_F(SecurityIdentifierOwnershipTest, AssigningToAViewLeavesTheOwnerOfItsBytesAsItIs) {
    const SecurityIdentifier owner(sidText);
    SecurityIdentifier view(owner.sid());
    view = SecurityIdentifier();
    EXPECT_EQ(view.sid(), nullptr);
    EXPECT_EQ(owner.text(), sidText);
    expectArrays(1);
}

TEST_F(SecurityIdentifierOwnershipTest, AMoveTakesTheBytesAndLeavesAViewOfNothing) {
    SystemSid bytes;
    for (const bool isOwner : {false, true}) {
        SecurityIdentifier source =
            isOwner ? SecurityIdentifier(sidText) : SecurityIdentifier(&bytes.mSid);
        PSID const sid = source.sid();
        const SecurityIdentifier target(std::move(source));
        EXPECT_EQ(target.sid(), sid);
        EXPECT_EQ(target.isOwner(), isOwner);
        // NOLINTNEXTLINE(*-use-after-move,*.Move): tests the moved-from state.
        EXPECT_EQ(source.sid(), nullptr);
        EXPECT_FALSE(source.isOwner());
        expectArrays(isOwner ? 1 : 0);
    }
}

TEST_F(SecurityIdentifierOwnershipTest, AMovedAssignmentGivesTheOldBytesBack) {
    SystemSid bytes;
    for (const bool targetOwns : {false, true}) {
        for (const bool sourceOwns : {false, true}) {
            SecurityIdentifier target =
                targetOwns ? SecurityIdentifier(sidText) : SecurityIdentifier(&bytes.mSid);
            SecurityIdentifier source =
                sourceOwns ? SecurityIdentifier(otherText) : SecurityIdentifier(&bytes.mSid);
            PSID const sid = source.sid();
            target = std::move(source);
            EXPECT_EQ(target.sid(), sid);
            EXPECT_EQ(target.isOwner(), sourceOwns);
            // NOLINTNEXTLINE(*-use-after-move,*.Move): tests the moved-from state.
            EXPECT_EQ(source.sid(), nullptr);
            EXPECT_FALSE(source.isOwner());
            expectArrays(sourceOwns ? 1 : 0);
        }
    }
}

TEST_F(SecurityIdentifierOwnershipTest, AVectorOfOwnersMovesThemAsItGrows) {
    std::vector<SecurityIdentifier> sids;
    sids.reserve(1);
    sids.emplace_back(sidText);
    PSID const first = sids[0].sid();
    sids.emplace_back(otherText);
    EXPECT_EQ(sids[0].sid(), first);
    EXPECT_EQ(mOwnership.held().mArrays, 2);
    sids = std::vector<SecurityIdentifier>();
    expectArrays(0);
}

}  // namespace
