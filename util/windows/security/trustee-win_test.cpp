#include "util/windows/security/trustee-win.h"

#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <accctrl.h>
#include <aclapi.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"

namespace {

using namespace testing_support;

class TrusteeTest : public testing_support::OwnershipTest {};

constexpr char objectsText[] = "Copying trustees with objects not yet implemented";
constexpr char formText[] = "Cannot make local copy of this type of TRUSTEE";
constexpr auto unknownForm = static_cast<TRUSTEE_FORM>(7);

/// Returns the text of the runtime error that `steps` throw, marked if it is a Win32Exception;
/// empty if they throw nothing.
template <class Steps>
std::string thrownBy(Steps steps) {
    try {
        steps();
    } catch (const Win32Exception& failure) {
        return std::string("Win32Exception: ").append(failure.what());
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return {};
}

Trustee copyOf(const Trustee& trustee) { return trustee; }

/// Trustees of every form, and what they point to.
struct Forms {
    SID mSid = {SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_LOCAL_SYSTEM_RID}};
    wchar_t mName[40] = L"A name that isn't a short one: J\u00f6rg";
    OBJECTS_AND_SID mObjectsAndSid = {0, {}, {}, &mSid};
    OBJECTS_AND_NAME_W mObjectsAndName = {0, SE_FILE_OBJECT, nullptr, nullptr, mName};

    TRUSTEE_W trustee(TRUSTEE_FORM form) {
        return {nullptr, NO_MULTIPLE_TRUSTEE, form, TRUSTEE_IS_GROUP,
                static_cast<wchar_t*>(place(form))};
    }
    void* place(TRUSTEE_FORM form) {
        switch (form) {
            case TRUSTEE_IS_SID:
                return &mSid;
            case TRUSTEE_IS_NAME:
                return mName;
            case TRUSTEE_IS_OBJECTS_AND_SID:
                return &mObjectsAndSid;
            case TRUSTEE_IS_OBJECTS_AND_NAME:
                return &mObjectsAndName;
            default:
                return this;
        }
    }
};

constexpr char accountName[] = "A name that isn't a short one: J\u00f6rg";
constexpr TRUSTEE_FORM allForms[] = {TRUSTEE_IS_SID,
                                     TRUSTEE_IS_NAME,
                                     TRUSTEE_BAD_FORM,
                                     TRUSTEE_IS_OBJECTS_AND_SID,
                                     TRUSTEE_IS_OBJECTS_AND_NAME,
                                     unknownForm};

TEST_F(TrusteeTest, ByDefaultItIsNobody) {
    const Trustee nobody;
    EXPECT_EQ(nobody.form(), 2);
    EXPECT_EQ(nobody.form(), TRUSTEE_BAD_FORM);
    EXPECT_EQ(nobody.type(), 7);
    EXPECT_EQ(nobody.type(), TRUSTEE_IS_INVALID);
    EXPECT_EQ(nobody.trustee().ptstrName, nullptr);
    EXPECT_EQ(nobody.trustee().pMultipleTrustee, nullptr);
    EXPECT_EQ(nobody.name(), "");
    EXPECT_EQ(nobody.sid().sid(), nullptr);
    EXPECT_EQ(mOwnership.held(), OwnedResources());
}

TEST_F(TrusteeTest, OneByNameHoldsTheNameAsUtf16) {
    for (const std::string text : {"", "x", accountName}) {
        std::string name = text;
        const Trustee trustee(name.c_str());
        name.assign(name.size(), '#');
        EXPECT_EQ(trustee.form(), TRUSTEE_IS_NAME);
        EXPECT_EQ(trustee.type(), TRUSTEE_IS_UNKNOWN);
        EXPECT_EQ(trustee.name(), text);
        EXPECT_EQ(trustee.sid().sid(), nullptr);
    }
}

TEST_F(TrusteeTest, OneBySidHoldsACopyThatOwnsOrViewsAsTheSource) {
    const SecurityIdentifier owner("S-1-5-18");
    for (const bool isOwner : {false, true}) {
        const Trustee trustee(isOwner ? owner : SecurityIdentifier(owner.sid()));
        EXPECT_EQ(trustee.form(), TRUSTEE_IS_SID);
        EXPECT_EQ(trustee.type(), TRUSTEE_IS_UNKNOWN);
        EXPECT_EQ(trustee.sid(), owner);
        EXPECT_FALSE(trustee.sid().isOwner());
        EXPECT_EQ(trustee.sid().sid() == owner.sid(), !isOwner);
        EXPECT_EQ(trustee.name(), "");
        EXPECT_EQ(mOwnership.held(), OwnedResources{.mArrays = isOwner ? 2 : 1});
    }
}

TEST_F(TrusteeTest, NameAndSidAreReadByTheForm) {
    Forms forms;
    for (const TRUSTEE_FORM form : allForms) {
        const Trustee trustee(forms.trustee(form), /*localCopy=*/false);
        const bool hasName = form == TRUSTEE_IS_NAME || form == TRUSTEE_IS_OBJECTS_AND_NAME;
        const bool hasSid = form == TRUSTEE_IS_SID || form == TRUSTEE_IS_OBJECTS_AND_SID;
        EXPECT_EQ(trustee.name(), hasName ? accountName : "") << form;
        EXPECT_EQ(trustee.sid().sid(), hasSid ? &forms.mSid : nullptr) << form;
        EXPECT_FALSE(trustee.sid().isOwner()) << form;
    }
}

TEST_F(TrusteeTest, AMissingNameIsEmpty) {
    Forms forms;
    forms.mObjectsAndName.ptstrName = nullptr;
    EXPECT_EQ(Trustee(forms.trustee(TRUSTEE_IS_OBJECTS_AND_NAME), false).name(), "");
    const TRUSTEE_W nameless = {nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_NAME, TRUSTEE_IS_USER,
                                nullptr};
    EXPECT_EQ(Trustee(nameless, false).name(), "");
}

TEST_F(TrusteeTest, WithoutALocalCopyTheConstructorSharesThePointerOfAnyForm) {
    Forms forms;
    TRUSTEE_W multiple = {};
    for (const TRUSTEE_FORM form : allForms) {
        TRUSTEE_W raw = forms.trustee(form);
        raw.pMultipleTrustee = &multiple;
        raw.MultipleTrusteeOperation = TRUSTEE_IS_IMPERSONATE;
        const Trustee trustee(raw, /*localCopy=*/false);
        EXPECT_EQ(trustee.trustee().pMultipleTrustee, &multiple) << form;
        EXPECT_EQ(trustee.trustee().MultipleTrusteeOperation, TRUSTEE_IS_IMPERSONATE) << form;
        EXPECT_EQ(trustee.form(), form);
        EXPECT_EQ(trustee.type(), TRUSTEE_IS_GROUP) << form;
        EXPECT_EQ(trustee.trustee().ptstrName, forms.place(form)) << form;
    }
    EXPECT_EQ(mOwnership.held(), OwnedResources());
}

TEST_F(TrusteeTest, ALocalCopyBySidOrNameHasBytesOfItsOwn) {
    Forms forms;
    const Trustee bySid(forms.trustee(TRUSTEE_IS_SID), /*localCopy=*/true);
    const Trustee byName(forms.trustee(TRUSTEE_IS_NAME), /*localCopy=*/true);
    EXPECT_EQ(mOwnership.held(), (OwnedResources{.mArrays = 1, .mObjects = 1}));
    forms.mSid = {};
    forms.mName[0] = L'\0';
    EXPECT_EQ(bySid.sid().text(), "S-1-5-18");
    EXPECT_EQ(bySid.type(), TRUSTEE_IS_GROUP);
    EXPECT_EQ(byName.name(), accountName);
    EXPECT_EQ(byName.type(), TRUSTEE_IS_GROUP);
}

TEST_F(TrusteeTest, ALocalCopyOfAnotherFormThrows) {
    Forms forms;
    for (const TRUSTEE_FORM form : {TRUSTEE_IS_OBJECTS_AND_SID, TRUSTEE_IS_OBJECTS_AND_NAME}) {
        EXPECT_EQ(thrownBy([&] { Trustee(forms.trustee(form), true); }), objectsText) << form;
    }
    for (const TRUSTEE_FORM form : {TRUSTEE_BAD_FORM, unknownForm}) {
        EXPECT_EQ(thrownBy([&] { Trustee(forms.trustee(form), true); }), formText) << form;
    }
}

TEST_F(TrusteeTest, ALocalCopyOfASidThatCannotBeCopiedFailsAndLeavesNothing) {
    Forms forms;
    const testing_support::RefusedCall<decltype(CopySid)> call("CopySid", ERROR_ACCESS_DENIED);
    expectFailedCall("CopySid", ERROR_ACCESS_DENIED,
                     [&] { Trustee(forms.trustee(TRUSTEE_IS_SID), true); });
    EXPECT_EQ(mOwnership.held(), OwnedResources());
}

TEST_F(TrusteeTest, ACopyOfOneThatPointsAtItsOwnStoreHasAStoreOfItsOwn) {
    Forms forms;
    Trustee copies[4];
    {
        const Trustee originals[] = {Trustee(accountName), Trustee(SecurityIdentifier("SY")),
                                     Trustee(SecurityIdentifier(&forms.mSid)),  // stores a view
                                     Trustee("x")};  // short enough for the string object itself
        for (size_t i = 0; i < std::size(originals); ++i) {
            copies[i] = copyOf(originals[i]);
            EXPECT_NE(copies[i].trustee().ptstrName, originals[i].trustee().ptstrName) << i;
        }
    }
    forms.mSid = {};
    EXPECT_EQ(copies[0].name(), accountName);
    EXPECT_EQ(copies[1].sid().text(), "S-1-5-18");
    EXPECT_EQ(copies[2].sid().text(), "S-1-5-18");
    EXPECT_EQ(copies[3].name(), "x");
    EXPECT_EQ(mOwnership.held(), (OwnedResources{.mArrays = 2, .mObjects = 1}));
}

TEST_F(TrusteeTest, ACopyOfOneThatPointsElsewhereSharesThePointerWhateverTheForm) {
    Forms forms;
    for (const TRUSTEE_FORM form : allForms) {
        const Trustee trustee(forms.trustee(form), /*localCopy=*/false);
        EXPECT_EQ(copyOf(trustee).trustee().ptstrName, forms.place(form)) << form;
    }
}

TEST_F(TrusteeTest, ATrusteeThatPointsNowhereIsCopiedAndAssignedAsItIs) {
    for (const TRUSTEE_FORM form : {TRUSTEE_IS_SID, TRUSTEE_IS_NAME}) {
        const TRUSTEE_W raw = {nullptr, NO_MULTIPLE_TRUSTEE, form, TRUSTEE_IS_USER, nullptr};
        const Trustee nowhere(raw, /*localCopy=*/false);
        EXPECT_EQ(copyOf(nowhere).trustee().ptstrName, nullptr) << form;
        Trustee target;
        target = nowhere;
        EXPECT_EQ(target.form(), form);
        EXPECT_EQ(target.trustee().ptstrName, nullptr) << form;
    }
}

}  // namespace
