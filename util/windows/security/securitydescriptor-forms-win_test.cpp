// The absolute and the self-relative form of security descriptors, and setting parts in both.

#include <array>
#include <cstddef>
#include <functional>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

using namespace testing_support;

constexpr SECURITY_INFORMATION allParts = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                                          DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION;
constexpr const char* full = "O:BAG:SYD:(A;;FA;;;WD)(A;;FR;;;SY)S:(AU;SA;FA;;;WD)";
constexpr const char* otherSddl = "O:WDG:WDD:(A;;FW;;;BA)S:(AU;FA;FA;;;BA)";

/// The addresses of the descriptor and its parts.
using Pointers = std::array<const void*, 5>;

Pointers pointersOf(const SecurityDescriptor& security) {
    return {security.descriptor(), security.owner().sid(), security.group().sid(),
            security.dacl().acl(), security.sacl().acl()};
}

/// Sets all parts to those of another descriptor.
void setParts(SecurityDescriptor& security, const SecurityDescriptor& parts) {
    security.setOwner(parts.owner().sid());
    security.setGroup(parts.group().sid());
    security.setDacl(parts.dacl().acl());
    security.setSacl(parts.sacl().acl());
}

using DescriptorPartTest = SecurityTest;

TEST_F(DescriptorPartTest, ThoseOfASelfRelativeOneAreGivenOutAndNotInItsText) {
    const SecurityDescriptor other(otherSddl, SDDL_REVISION_1);
    SecurityDescriptor security(full, SDDL_REVISION_1);
    setParts(security, other);
    EXPECT_EQ(pointersOf(security),
              (Pointers{security.descriptor(), other.owner().sid(), other.group().sid(),
                        other.dacl().acl(), other.sacl().acl()}));
    EXPECT_EQ(security.sddl(allParts), full);
}

TEST_F(DescriptorPartTest, ThoseOfANullOneAreGivenOut) {
    const SecurityDescriptor other(otherSddl, SDDL_REVISION_1);
    SecurityDescriptor security(PSECURITY_DESCRIPTOR{nullptr});
    setParts(security, other);
    EXPECT_EQ(pointersOf(security), (Pointers{nullptr, other.owner().sid(), other.group().sid(),
                                              other.dacl().acl(), other.sacl().acl()}));
}

TEST_F(DescriptorPartTest, ThoseOfAnAbsoluteOneAreInItsTextAsWell) {
    const SecurityDescriptor other(otherSddl, SDDL_REVISION_1);
    SecurityDescriptor security;
    setParts(security, other);
    EXPECT_EQ(security.owner().sid(), other.owner().sid());
    EXPECT_EQ(security.sacl().acl(), other.sacl().acl());
    EXPECT_EQ(security.sddl(allParts), otherSddl);
}

TEST_F(DescriptorPartTest, ThoseOfAnAbsoluteOneCanBeTakenAway) {
    SecurityDescriptor security(full, SDDL_REVISION_1);
    security.makeAbsolute();
    security.setOwner(nullptr);
    security.setGroup(nullptr);
    security.setDacl(nullptr);
    security.setSacl(nullptr);
    EXPECT_EQ(security.control(), 0);
    security.readParts();
    EXPECT_EQ(pointersOf(security), Pointers{security.descriptor()});
}

/// The arguments of the last call of one of Windows's setters.
struct SetPart {
    PSECURITY_DESCRIPTOR descriptor;
    void* part;
    BOOL isPresent, isDefaulted;

    bool operator==(const SetPart&) const = default;
};
SetPart gSetPart;

BOOL WINAPI setSid(PSECURITY_DESCRIPTOR descriptor, PSID sid, BOOL isDefaulted) {
    gSetPart = {descriptor, sid, TRUE, isDefaulted};
    return TRUE;
}
BOOL WINAPI setAcl(PSECURITY_DESCRIPTOR descriptor, BOOL isPresent, PACL acl, BOOL isDefaulted) {
    gSetPart = {descriptor, acl, isPresent, isDefaulted};
    return TRUE;
}

SECURITY_DESCRIPTOR_CONTROL gControl;

BOOL WINAPI giveControl(PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR_CONTROL control, LPDWORD) {
    *control = gControl;
    return TRUE;
}

TEST_F(DescriptorPartTest, WindowsGetsWhetherThePartIsPresentAndDefaulted) {
    const ReplacedCall<decltype(GetSecurityDescriptorControl)> control(
        "GetSecurityDescriptorControl", giveControl);
    const ReplacedCall<decltype(SetSecurityDescriptorOwner)> owner("SetSecurityDescriptorOwner",
                                                                   setSid);
    const ReplacedCall<decltype(SetSecurityDescriptorGroup)> group("SetSecurityDescriptorGroup",
                                                                   setSid);
    const ReplacedCall<decltype(SetSecurityDescriptorDacl)> dacl("SetSecurityDescriptorDacl",
                                                                 setAcl);
    const ReplacedCall<decltype(SetSecurityDescriptorSacl)> sacl("SetSecurityDescriptorSacl",
                                                                 setAcl);
    constexpr SECURITY_DESCRIPTOR_CONTROL all =
        SE_OWNER_DEFAULTED | SE_GROUP_DEFAULTED | SE_DACL_DEFAULTED | SE_SACL_DEFAULTED;
    SecurityDescriptor security;
    SID sid = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {0}};
    ACL acl = {};
    struct Row {
        void* part;
        std::function<void(bool)> set;
        SECURITY_DESCRIPTOR_CONTROL bit;
        bool isAlwaysPresent;
    };
    const Row rows[] = {
        {&sid, [&](bool some) { security.setOwner(some ? &sid : nullptr); }, SE_OWNER_DEFAULTED,
         true},
        {&sid, [&](bool some) { security.setGroup(some ? &sid : nullptr); }, SE_GROUP_DEFAULTED,
         true},
        {&acl, [&](bool some) { security.setDacl(some ? &acl : nullptr); }, SE_DACL_DEFAULTED,
         false},
        {&acl, [&](bool some) { security.setSacl(some ? &acl : nullptr); }, SE_SACL_DEFAULTED,
         false},
    };
    for (const Row& row : rows) {
        for (const bool some : {true, false}) {
            const BOOL isPresent = some || row.isAlwaysPresent;
            void* const part = some ? row.part : nullptr;
            gControl = row.bit;
            row.set(some);
            EXPECT_EQ(gSetPart, (SetPart{security.descriptor(), part, isPresent, TRUE})) << row.bit;
            gControl = static_cast<SECURITY_DESCRIPTOR_CONTROL>(all & ~row.bit);
            row.set(some);
            EXPECT_EQ(gSetPart, (SetPart{security.descriptor(), part, isPresent, FALSE}))
                << row.bit;
        }
    }
}

using DescriptorFormTest = SecurityTest;

TEST_F(DescriptorFormTest, TheFormChangesThereAndBackAndThePartsStayTheSame) {
    SecurityDescriptor security(full, SDDL_REVISION_1);
    security.makeAbsolute();
    EXPECT_TRUE(security.isAbsolute());
    EXPECT_TRUE(security.isValid());
    EXPECT_EQ(security.sddl(allParts), full);
    EXPECT_EQ(mOwnership.held().mLocalBlocks, 1) << "one block for all, the old one freed";
    security.makeSelfRelative();
    EXPECT_FALSE(security.isAbsolute());
    EXPECT_TRUE(security.isValid());
    EXPECT_EQ(security.sddl(allParts), full);
    EXPECT_EQ(mOwnership.held().mLocalBlocks, 1);
}

TEST_F(DescriptorFormTest, ThePartsAreReadAnewAndNoneThatWasSetRemains) {
    const SecurityDescriptor other(otherSddl, SDDL_REVISION_1);
    SecurityDescriptor security("O:SYG:SYD:(A;;FA;;;WD)", SDDL_REVISION_1);
    security.setGroup(other.dacl().ace(0).sid().sid());
    security.setDacl(other.dacl().acl());
    security.setSacl(other.sacl().acl());
    security.makeAbsolute();
    EXPECT_EQ(security.group().text(), "S-1-5-18");
    EXPECT_EQ(security.dacl().ace(0).sid().text(), "S-1-1-0");
    EXPECT_EQ(security.sacl().acl(), nullptr);
}

/// The arguments of MakeAbsoluteSD, in their order.
struct Absolute {
    PSECURITY_DESCRIPTOR source;
    std::array<BYTE*, 5> places;
    std::array<DWORD, 5> sizes;
};
Absolute gAbsolute;
SIZE_T gAllocated;
decltype(MakeAbsoluteSD)* gMakeAbsolute;
decltype(LocalAlloc)* gLocalAlloc;

BOOL WINAPI noteMakeAbsolute(PSECURITY_DESCRIPTOR source, PSECURITY_DESCRIPTOR made, LPDWORD size,
                             PACL dacl, LPDWORD daclSize, PACL sacl, LPDWORD saclSize, PSID owner,
                             LPDWORD ownerSize, PSID group, LPDWORD groupSize) {
    const auto at = [](void* place) { return static_cast<BYTE*>(place); };
    gAbsolute = {source,
                 {at(made), at(dacl), at(sacl), at(owner), at(group)},
                 {*size, *daclSize, *saclSize, *ownerSize, *groupSize}};
    return gMakeAbsolute(source, made, size, dacl, daclSize, sacl, saclSize, owner, ownerSize,
                         group, groupSize);
}

TEST_F(DescriptorFormTest, OneBlockHoldsDescriptorDaclSaclOwnerAndGroupInThisOrder) {
    const ReplacedCall<decltype(MakeAbsoluteSD)> call("MakeAbsoluteSD", noteMakeAbsolute);
    gMakeAbsolute = call.original();
    const ReplacedCall<decltype(LocalAlloc)> allocation("LocalAlloc", [](UINT flags, SIZE_T size) {
        gAllocated = size;
        return gLocalAlloc(flags, size);
    });
    gLocalAlloc = allocation.original();
    struct Row {
        const char* text;
        std::array<DWORD, 5> sizes;
    };
    // Sizes in bytes: an ACL has 8, an ACE 8 plus its SID, a SID 8 plus 4 per sub-authority.
    const Row rows[] = {
        {full, {40, 8 + 2 * 20, 8 + 20, 16, 12}},
        {"O:SYG:BA", {40, 0, 0, 12, 16}},
        {"D:(A;;FA;;;BA)", {40, 8 + 24, 0, 0, 0}},
        {"S:(AU;SA;FA;;;BA)", {40, 0, 8 + 24, 0, 0}},
    };
    for (const Row& row : rows) {
        SecurityDescriptor security(row.text, SDDL_REVISION_1);
        const PSECURITY_DESCRIPTOR source = security.descriptor();
        security.makeAbsolute();
        EXPECT_EQ(gAbsolute.source, source) << row.text;
        EXPECT_EQ(gAbsolute.sizes, row.sizes) << row.text;
        BYTE* place = static_cast<BYTE*>(security.descriptor());
        for (size_t part = 0; part < row.sizes.size(); ++part) {
            EXPECT_EQ(gAbsolute.places[part], place) << row.text << ' ' << part;
            place += row.sizes[part];
        }
        EXPECT_EQ(gAllocated,
                  static_cast<SIZE_T>(place - static_cast<BYTE*>(security.descriptor())));
        EXPECT_EQ(security.sddl(allParts), row.text);
    }
}

TEST_F(DescriptorFormTest, OneThatCannotBeMadeAbsoluteIsUnchanged) {
    SecurityDescriptor security(full, SDDL_REVISION_1);
    const Pointers before = pointersOf(security);
    const RefusedCall<decltype(MakeAbsoluteSD)> call("MakeAbsoluteSD", ERROR_INVALID_ACL);
    expectFailedCall("MakeAbsoluteSD", ERROR_INVALID_ACL, [&] { security.makeAbsolute(); });
    EXPECT_EQ(pointersOf(security), before);
    EXPECT_EQ(security.sddl(allParts), full);
    EXPECT_EQ(mOwnership.held().mLocalBlocks, 1);
}

TEST_F(DescriptorFormTest, OneThatCannotBeMadeSelfRelativeIsUnchanged) {
    SecurityDescriptor security(full, SDDL_REVISION_1);
    security.makeAbsolute();
    const Pointers before = pointersOf(security);
    for (const int callsBefore : {0, 1}) {
        const RefusedCall<decltype(MakeSelfRelativeSD)> call("MakeSelfRelativeSD",
                                                             ERROR_INVALID_OWNER, callsBefore);
        expectFailedCall("MakeSelfRelativeSD", ERROR_INVALID_OWNER,
                         [&] { security.makeSelfRelative(); });
        EXPECT_EQ(pointersOf(security), before);
        EXPECT_EQ(mOwnership.held().mLocalBlocks, 1);
    }
}

TEST_F(DescriptorFormTest, APartThatWasSetAndIsTooSmallForTheOldOneIsRefused) {
    const SecurityDescriptor other(otherSddl, SDDL_REVISION_1);
    SecurityDescriptor security(full, SDDL_REVISION_1);
    security.setOwner(other.owner().sid());
    const Pointers before = pointersOf(security);
    expectFailedCall("MakeAbsoluteSD", ERROR_INSUFFICIENT_BUFFER, [&] { security.makeAbsolute(); });
    EXPECT_EQ(pointersOf(security), before);
}

/// Whether Windows's calls refuse a descriptor that already has the form, as documented.
bool formsAreChecked() {
    SECURITY_DESCRIPTOR absolute = {};
    InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION);
    absolute.Control = SE_SELF_RELATIVE;
    DWORD size = 0;
    return !MakeSelfRelativeSD(&absolute, nullptr, &size) &&
           GetLastError() == ERROR_BAD_DESCRIPTOR_FORMAT;
}

TEST_F(DescriptorFormTest, OneThatHasTheFormAlreadyIsRefusedByWindows) {
    if (!formsAreChecked()) {
        GTEST_SKIP() << "the forms of descriptors aren't checked here";
    }
    SecurityDescriptor absolute;
    expectFailedCall("MakeAbsoluteSD", ERROR_BAD_DESCRIPTOR_FORMAT,
                     [&] { absolute.makeAbsolute(); });
    SecurityDescriptor selfRelative(full, SDDL_REVISION_1);
    expectFailedCall("MakeSelfRelativeSD", ERROR_BAD_DESCRIPTOR_FORMAT,
                     [&] { selfRelative.makeSelfRelative(); });
}

TEST_F(DescriptorFormTest, TheSizeIsAskedForWithoutABufferAndThenTheBufferHasIt) {
    static int calls;
    static bool isAskedFor;
    static DWORD size;
    static SIZE_T needed;
    static decltype(MakeSelfRelativeSD)* make;
    const ReplacedCall<decltype(MakeSelfRelativeSD)> call(
        "MakeSelfRelativeSD",
        [](PSECURITY_DESCRIPTOR source, PSECURITY_DESCRIPTOR made, LPDWORD bytes) -> BOOL {
            const bool isFirst = calls++ == 0;
            if (isFirst) {
                isAskedFor = made == nullptr && *bytes == 0;
            } else {
                size = *bytes;
            }
            const BOOL result = make(source, made, bytes);
            if (isFirst) {
                needed = *bytes;
            }
            return result;
        });
    make = call.original();
    calls = 0;
    SecurityDescriptor security;
    security.makeSelfRelative();
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(isAskedFor);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(security.length(), needed);
}

TEST_F(DescriptorFormTest, ASuccessOfTheFirstCallIsFollowedByTheSecond) {
    static int calls;
    const ReplacedCall<decltype(MakeSelfRelativeSD)> call(
        "MakeSelfRelativeSD",
        [](PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR made, LPDWORD bytes) -> BOOL {
            ++calls;
            if (made != nullptr) {
                InitializeSecurityDescriptor(made, SECURITY_DESCRIPTOR_REVISION);
            }
            *bytes = 40;
            return TRUE;
        });
    calls = 0;
    SecurityDescriptor security;
    security.makeSelfRelative();
    EXPECT_EQ(calls, 2);
}

}  // namespace
