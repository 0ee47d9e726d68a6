// Adding ACEs in the middle of a list, which moves the ACEs after them.

#include <cstddef>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/ownershipcount-win.h"
#include "util/windows/security/accesscontrol-win.h"

namespace {

using namespace testing_support;

/// Inserts the ACE at the index and moves what follows, as Windows does. Some systems ignore the
/// index and add the ACE at the end.
WINBOOL WINAPI insertAce(PACL acl, DWORD /*revision*/, DWORD index, LPVOID ace, DWORD size) {
    BYTE* const start = reinterpret_cast<BYTE*>(acl + 1);
    const auto sizeAt = [start](size_t offset) {
        return reinterpret_cast<const ACE_HEADER*>(start + offset)->AceSize;
    };
    size_t end = 0;
    size_t place = 0;
    for (DWORD i = 0; i < acl->AceCount; ++i) {
        end += sizeAt(end);
        place = i < index ? end : place;
    }
    if (sizeof *acl + end + size > acl->AclSize) {
        SetLastError(ERROR_ALLOTTED_SPACE_EXCEEDED);
        return FALSE;
    }
    std::memmove(start + place + size, start + place, end - place);
    std::memcpy(start + place, ace, size);
    ++acl->AceCount;
    return TRUE;
}

using Masks = std::vector<ACCESS_MASK>;

class AceInsertionTest : public testing_support::OwnershipTest {
protected:
    AccessControlList aclOf(const Masks& masks) const {
        AccessControlList acl(/*aceCount=*/10, ACL_REVISION, /*limitSize=*/false);
        for (const ACCESS_MASK mask : masks) {
            acl.addAce(ACL_REVISION, AccessControlList::atEnd, ace(mask));
        }
        return acl;
    }
    /// Its size differs from that of its neighbours.
    AccessControlEntry ace(ACCESS_MASK mask) const {
        return AccessControlEntry::allowed(mask, mask % 2 == 0 ? mEveryone : mGuests, 0);
    }
    static Masks masksOf(const AccessControlList& acl) {
        Masks masks;
        for (DWORD index = 0; index < acl.aceCount(); ++index) {
            masks.push_back(acl.ace(index).mask());
        }
        return masks;
    }

    const ReplacedCall<decltype(AddAce)> mInsert{"AddAce", insertAce};
    const SecurityIdentifier mEveryone{"S-1-1-0"};
    const SecurityIdentifier mGuests{"S-1-5-32-546"};
};

TEST_F(AceInsertionTest, AcesAreInTheOrderOfTheirIndexes) {
    AccessControlList acl = aclOf({1, 2});
    acl.addAces(ACL_REVISION, 1, {ace(3), ace(4)});
    EXPECT_EQ(masksOf(acl), (Masks{1, 3, 4, 2}));
}

TEST_F(AceInsertionTest, AViewIntoTheListItselfIsAddedAsItWas) {
    AccessControlList acl = aclOf({1, 2, 3});
    acl.addAce(ACL_REVISION, 0, acl.ace(1));
    EXPECT_EQ(masksOf(acl), (Masks{2, 1, 2, 3}));
}

TEST_F(AceInsertionTest, ViewsIntoTheListAreAddedAsTheyWereBeforeTheFirstInsertion) {
    AccessControlList acl = aclOf({1, 2, 3});
    const AccessControlEntry other = ace(4);
    const std::vector<AccessControlEntry> aces = {acl.ace(2), other, acl.ace(0), acl.ace(1)};
    acl.addAces(ACL_REVISION, 1, aces);
    EXPECT_EQ(masksOf(acl), (Masks{1, 3, 4, 1, 2, 2, 3}));
}

TEST_F(AceInsertionTest, ViewsThroughAnotherObjectOfTheSameListAreAddedAsTheyWere) {
    AccessControlList acl = aclOf({1, 2});
    const AccessControlList view(acl.acl());
    acl.addAces(ACL_REVISION, 0, {view.ace(1), view.ace(0)});
    EXPECT_EQ(masksOf(acl), (Masks{2, 1, 1, 2}));
}

TEST_F(AceInsertionTest, ViewsIntoAnotherListAreAdded) {
    AccessControlList acl = aclOf({1, 2});
    const AccessControlList other = aclOf({3, 4});
    acl.addAces(ACL_REVISION, 1, {other.ace(0), other.ace(1)});
    EXPECT_EQ(masksOf(acl), (Masks{1, 3, 4, 2}));
    EXPECT_EQ(masksOf(other), (Masks{3, 4}));
}

}  // namespace
