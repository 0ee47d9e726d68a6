#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"
#include "util/windows/security/accesscontrol-win.h"

namespace {

using namespace testing_support;

/// Writes ACEs as the letter of their SID: "e" Everyone, "s" the system, "-" none.
class AccessControlRulesTest : public testing_support::OwnershipTest {
protected:
    AccessControlList aclOf(const std::string& letters) const {
        AccessControlList acl(/*aceCount=*/10, ACL_REVISION_DS, /*limitSize=*/false);
        ACCESS_MASK mask = 1;
        for (const char letter : letters) {
            add(acl, letter, ACCESS_ALLOWED_ACE_TYPE, mask++, 0);
        }
        return acl;
    }

    void add(AccessControlList& acl, char letter, BYTE type, ACCESS_MASK mask, BYTE flags) const {
        std::array<DWORD, 16> bytes = {};
        auto* const header = reinterpret_cast<ACE_HEADER*>(bytes.data());
        const bool hasObjects = type >= 5 && type != 9 && type != 10 && type != 13 && type != 14;
        // A compound ACE has no SID.
        *header = {letter == '-' ? BYTE{ACCESS_ALLOWED_COMPOUND_ACE_TYPE} : type, flags,
                   sizeof bytes};
        bytes[1] = mask;
        const SecurityIdentifier& sid = letter == 's' ? mSystem : mEveryone;
        ASSERT_TRUE(CopySid(sid.length(), &bytes[hasObjects ? 11 : 2], sid.sid()));
        acl.addAce(ACL_REVISION_DS, AccessControlList::atEnd, {header});
    }

    static std::vector<ACCESS_MASK> masksOf(const AccessControlList& acl) {
        std::vector<ACCESS_MASK> masks;
        for (DWORD index = 0; index < acl.aceCount(); ++index) {
            // From the bytes, because `mask` doesn't read the mask of a compound ACE.
            masks.push_back(reinterpret_cast<ACCESS_ALLOWED_ACE*>(acl.ace(index).ace())->Mask);
        }
        return masks;
    }

    const SecurityIdentifier mEveryone{WinWorldSid, nullptr};
    const SecurityIdentifier mSystem{WinLocalSystemSid, nullptr};
};

using Masks = std::vector<ACCESS_MASK>;

TEST_F(AccessControlRulesTest, AllAcesOfASidAreRemovedNextToOneAnotherTooAndTheOthersStay) {
    const struct {
        const char* mLetters;
        Masks mLeft;
    } rows[] = {
        {"", {}},         {"s", {1}},   {"e", {}},       {"ee", {}},
        {"eee", {}},      {"es", {2}},  {"se", {1}},     {"eesee", {3}},
        {"sees", {1, 4}}, {"ese", {2}}, {"-e-", {1, 3}}, {"eseses", {2, 4, 6}},
    };
    for (const auto& row : rows) {
        AccessControlList acl = aclOf(row.mLetters);
        acl.removeAces(mEveryone);
        EXPECT_EQ(masksOf(acl), row.mLeft) << row.mLetters;
    }
}

TEST_F(AccessControlRulesTest, TheNullSidRemovesTheAcesWithoutASid) {
    AccessControlList acl = aclOf("-es--e");
    acl.removeAces(SecurityIdentifier());
    EXPECT_EQ(masksOf(acl), (Masks{2, 3, 6}));
}

TEST_F(AccessControlRulesTest, RemovalGoesByTheBytesOfTheSidNotByItsPlace) {
    AccessControlList acl = aclOf("ses");
    acl.removeAces(SecurityIdentifier("SY"));
    EXPECT_EQ(masksOf(acl), Masks{2});
}

decltype(GetAce)* gGetAce = nullptr;
decltype(DeleteAce)* gDeleteAce = nullptr;

TEST_F(AccessControlRulesTest, RemovalPassesOverAnAceThatCannotBeRead) {
    AccessControlList acl = aclOf("eee");
    {
        const ReplacedCall<decltype(GetAce)> call(
            "GetAce", [](PACL list, DWORD index, LPVOID* ace) -> WINBOOL {
                return index != 0 && gGetAce(list, index, ace);
            });
        gGetAce = call.original();
        acl.removeAces(mEveryone);
    }
    EXPECT_EQ(masksOf(acl), Masks{1});
}

TEST_F(AccessControlRulesTest, RemovalPassesOverAnAceThatCannotBeDeleted) {
    AccessControlList acl = aclOf("seee");
    {
        const ReplacedCall<decltype(DeleteAce)> call(
            "DeleteAce", [](PACL list, DWORD index) -> WINBOOL {
                return index != 1 && gDeleteAce(list, index);
            });
        gDeleteAce = call.original();
        acl.removeAces(mEveryone);
    }
    EXPECT_EQ(masksOf(acl), (Masks{1, 2}));
}

TEST_F(AccessControlRulesTest, RemovalAsksForTheCountOnceAndForgetsIt) {
    AccessControlList acl = aclOf("es");
    EXPECT_EQ(acl.aceCount(), 2U);
    {
        const RefusedCall<decltype(GetAclInformation)> call("GetAclInformation", ERROR_INVALID_ACL);
        acl.removeAces(mEveryone);
        EXPECT_EQ(call.count(), 0);
        EXPECT_THROW(static_cast<void>(acl.aceCount()), Win32Exception);
    }
    EXPECT_EQ(acl.aceCount(), 1U);
}

TEST_F(AccessControlRulesTest, AnEmptyListAllowsNothing) {
    EXPECT_FALSE(aclOf("").allows(mEveryone, 0, 0));
}

TEST_F(AccessControlRulesTest, TheTypeReportsWhetherADecisiveAceAllowsOrDenies) {
    for (BYTE type = 0; type <= 18; ++type) {
        if (type == ACCESS_ALLOWED_COMPOUND_ACE_TYPE) {
            continue;
        }
        const bool allows = type == ACCESS_ALLOWED_ACE_TYPE ||
                            type == ACCESS_ALLOWED_OBJECT_ACE_TYPE ||
                            type == ACCESS_ALLOWED_CALLBACK_ACE_TYPE ||
                            type == ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE;
        const bool denies = type == ACCESS_DENIED_ACE_TYPE ||
                            type == ACCESS_DENIED_OBJECT_ACE_TYPE ||
                            type == ACCESS_DENIED_CALLBACK_ACE_TYPE ||
                            type == ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE;
        // The second ACE decides if the first doesn't.
        for (const bool fallback : {false, true}) {
            AccessControlList acl = aclOf("");
            add(acl, 'e', type, 1, 0);
            add(acl, 'e', fallback ? ACCESS_ALLOWED_ACE_TYPE : ACCESS_DENIED_ACE_TYPE, 1, 0);
            EXPECT_EQ(acl.allows(mEveryone, 1, 0), allows || (!denies && fallback)) << int{type};
        }
    }
}

/// One ACE of a list.
struct Entry {
    char mSid;
    BYTE mType;
    ACCESS_MASK mMask;
    BYTE mFlags;
};

TEST_F(AccessControlRulesTest, TheFirstAceThatHasTheSidTheWholeMaskAndTheFlagsDecides) {
    constexpr BYTE allowType = ACCESS_ALLOWED_ACE_TYPE;
    constexpr BYTE denyType = ACCESS_DENIED_ACE_TYPE;
    const struct {
        const char* mCase;
        std::vector<Entry> mEntries;
        ACCESS_MASK mMask;
        BYTE mFlags;
        bool mIsAllowed;
    } rows[] = {
        {"allowed", {{'e', allowType, 3, 0}}, 3, 0, true},
        {"part of the ACE's mask", {{'e', allowType, 3, 0}}, 2, 0, true},
        {"no mask asked for", {{'e', allowType, 0, 0}}, 0, 0, true},
        {"more than the ACE's mask", {{'e', allowType, 3, 0}}, 7, 0, false},
        {"a mask split over two", {{'e', allowType, 1, 0}, {'e', allowType, 2, 0}}, 3, 0, false},
        {"deny ahead of allow", {{'e', denyType, 1, 0}, {'e', allowType, 1, 0}}, 1, 0, false},
        {"allow ahead of deny", {{'e', allowType, 1, 0}, {'e', denyType, 1, 0}}, 1, 0, true},
        {"deny of a part", {{'e', denyType, 1, 0}, {'e', allowType, 3, 0}}, 3, 0, true},
        {"deny of another", {{'s', denyType, 1, 0}, {'e', allowType, 1, 0}}, 1, 0, true},
        {"allowed to another", {{'s', allowType, 1, 0}}, 1, 0, false},
        {"allowed to nobody", {{'-', allowType, 1, 0}}, 1, 0, false},
        {"all of the flags", {{'e', allowType, 1, 3}}, 1, 3, true},
        {"some of the flags", {{'e', allowType, 1, 3}}, 1, 1, true},
        {"flags that aren't asked for", {{'e', allowType, 1, 3}}, 1, 0, true},
        {"a flag that isn't there", {{'e', allowType, 1, 1}}, 1, 3, false},
        {"deny without the flag", {{'e', denyType, 1, 0}, {'e', allowType, 1, 2}}, 1, 2, true},
    };
    for (const auto& row : rows) {
        AccessControlList acl = aclOf("");
        for (const Entry& entry : row.mEntries) {
            add(acl, entry.mSid, entry.mType, entry.mMask, entry.mFlags);
        }
        EXPECT_EQ(acl.allows(mEveryone, row.mMask, row.mFlags), row.mIsAllowed) << row.mCase;
    }
}

TEST_F(AccessControlRulesTest, ACompoundAceDecidesNothingForTheNullSidEither) {
    EXPECT_FALSE(aclOf("-").allows(SecurityIdentifier(), 0, 0));
    EXPECT_FALSE(aclOf("e").allows(SecurityIdentifier(), 0, 0));
}

TEST_F(AccessControlRulesTest, TheCountsThatAreKeptServeTheWalk) {
    const AccessControlList acl = aclOf("sss");
    acl.refresh();
    const RefusedCall<decltype(GetAclInformation)> call("GetAclInformation", ERROR_INVALID_ACL);
    EXPECT_FALSE(acl.allows(mEveryone, 1, 0));
    EXPECT_EQ(call.count(), 0);
}

TEST_F(AccessControlRulesTest, TheSidToRemoveMayBeAViewIntoTheList) {
    AccessControlList acl = aclOf("ese");
    acl.removeAces(acl.ace(0).sid());
    EXPECT_EQ(masksOf(acl), Masks{2});
}

}  // namespace
