#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/counts/ownershipcount-win.h"
#include "util/windows/security/accesscontrol-win.h"

namespace {

using namespace testing_support;

class AccessControlEntryTest : public testing_support::OwnershipTest {
protected:
    void expectArrays(ptrdiff_t count) const {
        EXPECT_EQ(mOwnership.held(), OwnedResources{.mArrays = count});
    }
};

AccessControlEntry copyOf(const AccessControlEntry& ace) { return ace; }

/// An ACE of any type, as bytes. After the header, each byte holds its offset.
struct RawAce {
    explicit RawAce(BYTE type) {
        for (size_t offset = 0; offset < mBytes.size(); ++offset) {
            mBytes[offset] = static_cast<BYTE>(offset);
        }
        mBytes[0] = type;
        mBytes[1] = 0x1b;
        mBytes[2] = static_cast<BYTE>(mBytes.size());
        mBytes[3] = 0;
    }
    ACE_HEADER* header() { return reinterpret_cast<ACE_HEADER*>(mBytes.data()); }

    alignas(DWORD) std::array<BYTE, 64> mBytes;
};

std::vector<BYTE> bytesOf(const AccessControlEntry& ace) {
    const auto* begin = reinterpret_cast<const BYTE*>(ace.ace());
    return {begin, begin + ace.size()};
}

TEST_F(AccessControlEntryTest, ItsHeaderAndMaskAreReadWhereWindowsPutsThem) {
    RawAce raw(SYSTEM_AUDIT_ACE_TYPE);
    raw.mBytes[3] = 1;
    const AccessControlEntry ace(raw.header());
    EXPECT_EQ(ace.ace(), raw.header());
    EXPECT_FALSE(ace.isOwner());
    EXPECT_EQ(ace.type(), 2U);
    EXPECT_EQ(ace.flags(), 0x1bU);
    EXPECT_EQ(ace.size(), 256U + 64U);
    EXPECT_EQ(ace.mask(), 0x07060504U);
    expectArrays(0);
}

TEST_F(AccessControlEntryTest, TypeAndFlagsAreSetInTheBytes) {
    RawAce raw(0);
    AccessControlEntry ace(raw.header());
    ace.setType(9);
    ace.setFlags(0x80);
    RawAce expected(9);
    expected.mBytes[1] = 0x80;
    EXPECT_EQ(raw.mBytes, expected.mBytes);
}

TEST_F(AccessControlEntryTest, TheTypeReportsWhereTheSidIsAndWhetherThereIsAMask) {
    constexpr size_t none = 0;
    constexpr size_t offsets[] = {8, 8, 8, 8, none, 44, 44, 44, 44, 8, 8, 44, 44, 8, 8, 44, 44};
    for (int type = 0; type <= 255; ++type) {
        RawAce raw(static_cast<BYTE>(type));
        const AccessControlEntry ace(raw.header());
        const size_t offset = static_cast<size_t>(type) < std::size(offsets) ? offsets[type] : none;
        const SecurityIdentifier sid = ace.sid();
        EXPECT_EQ(sid.sid(), offset == none ? nullptr : &raw.mBytes[offset]) << type;
        EXPECT_FALSE(sid.isOwner()) << type;
        EXPECT_EQ(ace.mask(), offset == none ? 0 : 0x07060504U) << type;
    }
    expectArrays(0);
}

TEST_F(AccessControlEntryTest, AnObjectAceWithoutItsGuidsIsReadAsIfItHadThem) {
    RawAce raw(ACCESS_ALLOWED_OBJECT_ACE_TYPE);
    std::memset(&raw.mBytes[8], 0, 4);  // flags: neither GUID is present
    EXPECT_EQ(AccessControlEntry(raw.header()).sid().sid(), &raw.mBytes[44]);
}

TEST_F(AccessControlEntryTest, AMadeAceHoldsMaskSidAndFlags) {
    const SecurityIdentifier sid("S-1-5-32-544");
    const struct {
        const char* mName;
        AccessControlEntry mAce;
        BYTE mType;
    } rows[] = {
        {"allowed", AccessControlEntry::allowed(0x12345678, sid, 0x13), ACCESS_ALLOWED_ACE_TYPE},
        {"denied", AccessControlEntry::denied(0x12345678, sid, 0x13), ACCESS_DENIED_ACE_TYPE},
        {"not denied by flag",
         {0x12345678, sid, 0x13, /*isDenied=*/false},
         ACCESS_ALLOWED_ACE_TYPE},
        {"denied by flag", {0x12345678, sid, 0x13, /*isDenied=*/true}, ACCESS_DENIED_ACE_TYPE},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(row.mAce.isOwner()) << row.mName;
        std::vector<BYTE> expected = {row.mType, 0x13, 24, 0, 0x78, 0x56, 0x34, 0x12};
        const auto* sidBytes = static_cast<const BYTE*>(sid.sid());
        expected.insert(expected.end(), sidBytes, sidBytes + 16);
        EXPECT_EQ(bytesOf(row.mAce), expected) << row.mName;
        EXPECT_EQ(row.mAce.sid(), sid) << row.mName;
        EXPECT_NE(row.mAce.sid().sid(), sid.sid()) << row.mName;
    }
    expectArrays(1 + std::ssize(rows));
}

TEST_F(AccessControlEntryTest, ANullOrInvalidSidHasNoBytesInIt) {
    SID invalid = {SID_REVISION + 1, 1, SECURITY_NT_AUTHORITY, {0}};
    for (PSID sid : {PSID(nullptr), PSID(&invalid)}) {
        const AccessControlEntry ace = AccessControlEntry::denied(0x12345678, sid, 3);
        EXPECT_EQ(bytesOf(ace),
                  (std::vector<BYTE>{ACCESS_DENIED_ACE_TYPE, 3, 8, 0, 0x78, 0x56, 0x34, 0x12}));
    }
}

TEST_F(AccessControlEntryTest, ACopyOfAnOwnerHasBytesOfItsOwn) {
    for (const bool forceCopy : {false, true}) {
        AccessControlEntry owner = AccessControlEntry::allowed(1, SecurityIdentifier("BA"), 2);
        const std::vector<BYTE> before = bytesOf(owner);
        const AccessControlEntry copy(owner, forceCopy);
        EXPECT_EQ(mOwnership.held().mArrays, 2);
        owner.setFlags(7);
        EXPECT_TRUE(copy.isOwner());
        EXPECT_NE(copy.ace(), owner.ace());
        EXPECT_EQ(bytesOf(copy), before);
    }
}

TEST_F(AccessControlEntryTest, ACopyOfAViewIsAViewUnlessItIsForced) {
    RawAce raw(4);
    const AccessControlEntry view(raw.header());
    const AccessControlEntry copy = copyOf(view);
    EXPECT_FALSE(copy.isOwner());
    EXPECT_EQ(copy.ace(), raw.header());
    expectArrays(0);
    const AccessControlEntry forced(view, /*forceCopy=*/true);
    EXPECT_TRUE(forced.isOwner());
    EXPECT_NE(forced.ace(), raw.header());
    expectArrays(1);
    EXPECT_EQ(std::memcmp(forced.ace(), raw.header(), raw.mBytes.size()), 0);
}

TEST_F(AccessControlEntryTest, ACopyOfNothingIsAViewOfNothing) {
    const AccessControlEntry nothing;
    const AccessControlEntry forced(nothing, /*forceCopy=*/true);
    EXPECT_EQ(forced.ace(), nullptr);
    EXPECT_FALSE(forced.isOwner());
}

TEST_F(AccessControlEntryTest, AnAssignmentGivesTheOldBytesBackAndFollowsTheSource) {
    RawAce raw(0);
    RawAce other(1);
    const SecurityIdentifier everyone(WinWorldSid, nullptr);
    for (const bool isMove : {false, true}) {
        for (const bool targetOwns : {false, true}) {
            for (const bool sourceOwns : {false, true}) {
                AccessControlEntry target = {other.header()};
                if (targetOwns) {
                    target = AccessControlEntry::allowed(1, everyone, 1);
                }
                AccessControlEntry source(AccessControlEntry(raw.header()), sourceOwns);
                ACE_HEADER* const ace = source.ace();
                target = isMove ? std::move(source) : copyOf(source);
                EXPECT_EQ(target.isOwner(), sourceOwns);
                EXPECT_EQ(target.ace() == ace, isMove || !sourceOwns);
                EXPECT_EQ(std::memcmp(target.ace(), raw.header(), raw.mBytes.size()), 0);
                expectArrays(1 + (sourceOwns ? (isMove ? 1 : 2) : 0));
            }
        }
    }
    EXPECT_EQ(other.mBytes, RawAce(1).mBytes);
}

TEST_F(AccessControlEntryTest, AssignmentToItselfKeepsTheContent) {
    RawAce raw(0);
    AccessControlEntry view(raw.header());
    AccessControlEntry owner(view, /*forceCopy=*/true);
    for (AccessControlEntry* ace : {&view, &owner}) {
        const AccessControlEntry& itself = *ace;
        const bool isOwner = ace->isOwner();
        *ace = itself;
        EXPECT_EQ(ace->isOwner(), isOwner);
        EXPECT_EQ(ace->ace() == raw.header(), !isOwner);
        EXPECT_EQ(std::memcmp(ace->ace(), raw.header(), raw.mBytes.size()), 0);
    }
    expectArrays(1);
}

TEST_F(AccessControlEntryTest, AMoveTakesTheBytesAndLeavesAViewOfNothing) {
    RawAce raw(0);
    for (const bool isOwner : {false, true}) {
        AccessControlEntry source(AccessControlEntry(raw.header()), isOwner);
        ACE_HEADER* const ace = source.ace();
        const AccessControlEntry target(std::move(source));
        EXPECT_EQ(target.ace(), ace);
        EXPECT_EQ(target.isOwner(), isOwner);
        // NOLINTNEXTLINE(*-use-after-move,*.Move): tests the moved-from state.
        EXPECT_EQ(source.ace(), nullptr);
        EXPECT_FALSE(source.isOwner());
        expectArrays(isOwner ? 1 : 0);
    }
}

}  // namespace
