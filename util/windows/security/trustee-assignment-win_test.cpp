#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <accctrl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"
#include "util/windows/security/trustee-win.h"

namespace {

using namespace testing_support;

class TrusteeAssignmentTest : public testing_support::OwnershipTest {
protected:
    SID mSystem = {SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_LOCAL_SYSTEM_RID}};
    wchar_t mName[40] = L"A name that isn't a short one";
};

constexpr char accountName[] = "A name that isn't a short one";
constexpr char otherName[] = "Another name that isn't a short one";

/// A trustee that points to memory outside it.
Trustee sharing(TRUSTEE_FORM form, void* place) {
    const TRUSTEE_W raw = {nullptr, NO_MULTIPLE_TRUSTEE, form, TRUSTEE_IS_USER,
                           static_cast<wchar_t*>(place)};
    return {raw, /*localCopy=*/false};
}

/// One assignment target of each kind.
std::vector<Trustee> targets() {
    std::vector<Trustee> made;
    made.reserve(4);
    made.emplace_back();
    made.emplace_back(otherName);
    made.emplace_back(SecurityIdentifier("S-1-1-0"));
    static SID gAnonymous = {
        SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_ANONYMOUS_LOGON_RID}};
    made.push_back(sharing(TRUSTEE_IS_SID, &gAnonymous));
    return made;
}

TEST_F(TrusteeAssignmentTest, FromOneThatPointsAtItsOwnStoreAStoreIsMade) {
    for (const bool localCopy : {false, true}) {
        for (Trustee& target : targets()) {
            const Trustee source(accountName);
            EXPECT_EQ(&target.assign(source, localCopy), &target);
            EXPECT_EQ(target.name(), accountName);
            EXPECT_NE(target.trustee().ptstrName, source.trustee().ptstrName);
        }
        for (Trustee& target : targets()) {
            const Trustee source(SecurityIdentifier("S-1-5-18"));
            target.assign(source, localCopy);
            EXPECT_EQ(target.sid(), source.sid());
            EXPECT_NE(target.sid().sid(), source.sid().sid());
        }
    }
}

TEST_F(TrusteeAssignmentTest, APointerElsewhereIsSharedUnlessALocalCopyIsAskedFor) {
    for (const bool localCopy : {false, true}) {
        for (Trustee& target : targets()) {
            target.assign(sharing(TRUSTEE_IS_NAME, mName), localCopy);
            EXPECT_EQ(target.trustee().ptstrName == mName, !localCopy);
            EXPECT_EQ(target.name(), accountName);
            EXPECT_EQ(target.type(), TRUSTEE_IS_USER);
        }
        for (Trustee& target : targets()) {
            target.assign(sharing(TRUSTEE_IS_SID, &mSystem), localCopy);
            EXPECT_EQ(target.sid().sid() == &mSystem, !localCopy);
            EXPECT_EQ(target.sid().text(), "S-1-5-18");
        }
    }
}

TEST_F(TrusteeAssignmentTest, TheOperatorAsksForNoCopy) {
    Trustee target(otherName);
    target = sharing(TRUSTEE_IS_NAME, mName);
    EXPECT_EQ(target.trustee().ptstrName, mName);
    const Trustee source(accountName);
    target = source;
    EXPECT_EQ(target.name(), accountName);
    EXPECT_NE(target.trustee().ptstrName, source.trustee().ptstrName);
}

TEST_F(TrusteeAssignmentTest, AllFieldsComeAlong) {
    TRUSTEE_W multiple = {};
    const TRUSTEE_W raw = {&multiple, TRUSTEE_IS_IMPERSONATE, TRUSTEE_IS_NAME, TRUSTEE_IS_ALIAS,
                           mName};
    for (const bool localCopy : {false, true}) {
        Trustee target;
        target.assign(Trustee(raw, /*localCopy=*/false), localCopy);
        EXPECT_EQ(target.trustee().pMultipleTrustee, &multiple);
        EXPECT_EQ(target.trustee().MultipleTrusteeOperation, TRUSTEE_IS_IMPERSONATE);
        EXPECT_EQ(target.type(), TRUSTEE_IS_ALIAS);
    }
}

TEST_F(TrusteeAssignmentTest, FormsWithObjectsThrowInAnyCase) {
    OBJECTS_AND_SID objectsAndSid = {0, {}, {}, &mSystem};
    OBJECTS_AND_NAME_W objectsAndName = {0, SE_FILE_OBJECT, nullptr, nullptr, mName};
    for (const bool localCopy : {false, true}) {
        for (const Trustee& source : {sharing(TRUSTEE_IS_OBJECTS_AND_SID, &objectsAndSid),
                                      sharing(TRUSTEE_IS_OBJECTS_AND_NAME, &objectsAndName)}) {
            Trustee target(otherName);
            try {
                target.assign(source, localCopy);
                ADD_FAILURE() << source.form();
            } catch (const std::runtime_error& failure) {
                EXPECT_STREQ(failure.what(), "Copying trustees with objects not yet implemented");
            }
            EXPECT_EQ(target.form(), source.form());
            EXPECT_EQ(target.trustee().ptstrName, source.trustee().ptstrName);
        }
    }
}

TEST_F(TrusteeAssignmentTest, OtherFormsAreLeftAsCopiedUnlessACopyIsAskedFor) {
    for (const TRUSTEE_FORM form : {TRUSTEE_BAD_FORM, static_cast<TRUSTEE_FORM>(7)}) {
        const Trustee source = sharing(form, mName);
        Trustee target(otherName);
        target.assign(source, /*localCopy=*/false);
        EXPECT_EQ(target.form(), form);
        EXPECT_EQ(target.trustee().ptstrName, mName);
        try {
            target.assign(source, /*localCopy=*/true);
            ADD_FAILURE() << form;
        } catch (const std::runtime_error& failure) {
            EXPECT_STREQ(failure.what(), "Cannot make local copy of this type of TRUSTEE");
        }
    }
}

TEST_F(TrusteeAssignmentTest, AssignmentToItselfKeepsWhatItPointsAt) {
    for (const bool localCopy : {false, true}) {
        for (Trustee& trustee : targets()) {
            if (localCopy && trustee.form() == TRUSTEE_BAD_FORM) {
                continue;
            }
            const std::string name = trustee.name();
            const SecurityIdentifier sid = trustee.sid().sid() != nullptr
                                               ? SecurityIdentifier::deepCopy(trustee.sid().sid())
                                               : SecurityIdentifier();
            trustee.assign(trustee, localCopy);
            EXPECT_EQ(trustee.name(), name);
            EXPECT_EQ(trustee.sid(), sid);
        }
    }
}

TEST_F(TrusteeAssignmentTest, OneThatSharesTheStoreOfTheTargetIsAssignedToIt) {
    for (const bool localCopy : {false, true}) {
        Trustee name(accountName);
        name.assign(Trustee(name.trustee(), /*localCopy=*/false), localCopy);
        EXPECT_EQ(name.name(), accountName);
        Trustee sid(SecurityIdentifier("S-1-5-18"));
        sid.assign(Trustee(sid.trustee(), /*localCopy=*/false), localCopy);
        EXPECT_EQ(sid.sid().text(), "S-1-5-18");
        EXPECT_EQ(mOwnership.held(), (OwnedResources{.mArrays = 1, .mObjects = 1}));
    }
}

TEST_F(TrusteeAssignmentTest, OneThatSharesAnothersStoreIsCopiedAsAView) {
    const Trustee owner(accountName);
    const Trustee view(owner.trustee(), /*localCopy=*/false);
    Trustee target;
    target = view;
    EXPECT_EQ(target.trustee().ptstrName, owner.trustee().ptstrName);
    target.assign(view, /*localCopy=*/true);
    EXPECT_NE(target.trustee().ptstrName, owner.trustee().ptstrName);
    EXPECT_EQ(target.name(), accountName);
}

TEST_F(TrusteeAssignmentTest, AFailedCopyLeavesTheFieldsOfTheSourceAndNoMemory) {
    const Trustee source(SecurityIdentifier("S-1-5-18"));
    Trustee target(SecurityIdentifier("S-1-1-0"));
    {
        const testing_support::RefusedCall<decltype(CopySid)> call("CopySid", ERROR_ACCESS_DENIED);
        expectFailedCall("CopySid", ERROR_ACCESS_DENIED, [&] { target = source; });
    }
    EXPECT_EQ(target.trustee().ptstrName, source.trustee().ptstrName);
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mArrays = 2});
}

}  // namespace
