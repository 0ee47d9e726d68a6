#include "util/windows/security/arrayinitializer-win.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

namespace {

using Sid = std::pair<SecurityIdentifier, unsigned long>;
using Privilege = std::pair<LUID, unsigned long>;

TEST(ArrayInitializerTest, AnElementForASidHoldsItsAddressAndAttributes) {
    SID_AND_ATTRIBUTES array[2] = {};
    array_initializer<Sid, SID_AND_ATTRIBUTES> initializer(array, 2);
    const Sid everyone(SecurityIdentifier("S-1-1-0"), 7);
    const Sid nobody(SecurityIdentifier(), 8);
    initializer(everyone);
    EXPECT_EQ(array[0].Sid, everyone.first.sid());
    EXPECT_EQ(array[0].Attributes, 7U);
    EXPECT_EQ(array[1].Attributes, 0U);
    initializer(nobody);
    EXPECT_EQ(array[1].Sid, nullptr);
    EXPECT_EQ(array[1].Attributes, 8U);
}

TEST(ArrayInitializerTest, AnElementForAPrivilegeHoldsItsIdentifierAndAttributes) {
    LUID_AND_ATTRIBUTES array[1] = {};
    array_initializer<Privilege, LUID_AND_ATTRIBUTES>(array, 1)(Privilege({1, -2}, 3));
    EXPECT_EQ(array[0].Luid.LowPart, 1U);
    EXPECT_EQ(array[0].Luid.HighPart, -2);
    EXPECT_EQ(array[0].Attributes, 3U);
}

/// Returns what an initializer throws for an element beyond `capacity`. Expects that nothing is
/// written there.
template <class Source, class Target>
std::string overflow(const Source& element, size_t capacity) {
    Target array[3] = {};
    array[capacity].Attributes = 99;
    array_initializer<Source, Target> initializer(array, capacity);
    for (size_t i = 0; i < capacity; ++i) {
        EXPECT_NO_THROW(initializer(element));
    }
    std::string text;
    try {
        initializer(element);
    } catch (const std::out_of_range& failure) {
        text = failure.what();
    }
    EXPECT_EQ(array[capacity].Attributes, 99U);
    return text;
}

TEST(ArrayInitializerTest, AnElementTooManyThrowsTheNameOfTheCallAndWritesNothing) {
    const Sid sid(SecurityIdentifier("S-1-1-0"), 1);
    for (size_t capacity = 0; capacity < 3; ++capacity) {
        EXPECT_EQ((overflow<Sid, SID_AND_ATTRIBUTES>(sid, capacity)),
                  "array_initializer<struct std::pair<class SecurityIdentifier,unsigned "
                  "long>,struct _SID_AND_ATTRIBUTES>::operator ()");
        EXPECT_EQ((overflow<Privilege, LUID_AND_ATTRIBUTES>(Privilege(), capacity)),
                  "array_initializer<struct std::pair<struct _LUID,unsigned "
                  "long>,struct _LUID_AND_ATTRIBUTES>::operator ()");
    }
}

TEST(ArrayInitializerTest, AWholeListBecomesAnArrayInItsOrder) {
    const std::vector<Privilege> list = {{{1, 0}, 10}, {{2, 0}, 20}, {{3, 0}, 30}};
    LUID_AND_ATTRIBUTES array[4] = {};
    initializeArray(list, array);
    for (size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(array[i].Luid.LowPart, i + 1);
        EXPECT_EQ(array[i].Attributes, 10 * (i + 1));
    }
    EXPECT_EQ(array[3].Attributes, 0U);
}

TEST(ArrayInitializerTest, AnEmptyListWritesNothing) {
    LUID_AND_ATTRIBUTES untouched = {{1, 2}, 3};
    initializeArray(std::vector<Privilege>(), &untouched);
    EXPECT_EQ(untouched.Luid.LowPart, 1U);
    EXPECT_EQ(untouched.Attributes, 3U);
}

}  // namespace
