// Adjusting a token's privileges and groups.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

using namespace testing_support;

using SidList = AccessToken::SidList;
using PrivilegeList = AccessToken::PrivilegeList;

constexpr const char* privilegesCall = "AdjustTokenPrivileges";
constexpr const char* groupsCall = "AdjustTokenGroups";

/// Answers the adjusting calls one after the other, and records their arguments.
class AdjustmentTest : public SecurityTest {
protected:
    struct Answer {
        BOOL result = TRUE;
        DWORD error = NO_ERROR;
        DWORD needed = 0;              ///< returned if the caller passes a variable for it
        std::vector<BYTE> state = {};  ///< written if the buffer is large enough
    };
    struct Call {
        HANDLE token;
        BOOL all;
        bool hasBlock;
        std::vector<BYTE> block;  ///< as many bytes as the count implies
        DWORD size;
        bool hasState, hasNeeded;
    };
    struct Taken {
        std::vector<Answer> answers;
        std::vector<Call> calls;
    };

    void SetUp() override {
        SecurityTest::SetUp();
        sTaken = std::make_unique<Taken>();
    }
    void TearDown() override {
        sTaken.reset();
        SecurityTest::TearDown();
    }

    static void answer(std::vector<Answer> answers) { *sTaken = {std::move(answers), {}}; }
    static const std::vector<Call>& calls() { return sTaken->calls; }

    AccessToken mToken{GetCurrentProcess(), TOKEN_ALL_ACCESS};

private:
    /// `entries` is where the entries begin, `entry` the size of one.
    template <size_t entries, size_t entry, class Block>
    static WINBOOL WINAPI adjust(HANDLE token, WINBOOL all, Block* block, DWORD size, Block* state,
                                 PDWORD needed) {
        Call call = {token, all, block != nullptr, {}, size, state != nullptr, needed != nullptr};
        if (block != nullptr) {
            DWORD count = 0;
            std::memcpy(&count, block, sizeof count);
            const auto* const bytes = reinterpret_cast<const BYTE*>(block);
            call.block.assign(bytes, bytes + entries + count * entry);
        }
        const size_t index = sTaken->calls.size();
        sTaken->calls.push_back(std::move(call));
        if (index >= sTaken->answers.size()) {
            ADD_FAILURE() << "one call too many";
            return TRUE;
        }
        const Answer& given = sTaken->answers[index];
        if (needed != nullptr) {
            *needed = given.needed;
        }
        if (state != nullptr && given.state.size() <= size) {
            std::copy(given.state.begin(), given.state.end(), reinterpret_cast<BYTE*>(state));
        }
        SetLastError(given.error);
        return given.result;
    }

    static inline std::unique_ptr<Taken> sTaken;
    ReplacedCall<decltype(AdjustTokenPrivileges)> mPrivileges{privilegesCall,
                                                              adjust<4, 12, TOKEN_PRIVILEGES>};
    ReplacedCall<decltype(AdjustTokenGroups)> mGroups{groupsCall, adjust<8, 16, TOKEN_GROUPS>};
};

/// Consecutive values, as bytes.
class Bytes {
public:
    template <class Value>
    Bytes& add(Value value) {
        const auto* const bytes = reinterpret_cast<const BYTE*>(&value);
        mBytes.insert(mBytes.end(), bytes, bytes + sizeof value);
        return *this;
    }
    // NOLINTNEXTLINE(google-explicit-constructor): it is used as bytes.
    operator std::vector<BYTE>() const { return mBytes; }

private:
    std::vector<BYTE> mBytes;
};

/// A TOKEN_PRIVILEGES: a count and, without a gap, 12 bytes per privilege.
std::vector<BYTE> privilegeBytes(const PrivilegeList& list) {
    Bytes bytes;
    bytes.add(static_cast<DWORD>(list.size()));
    for (const auto& [luid, attributes] : list) {
        bytes.add(luid.LowPart).add(luid.HighPart).add(static_cast<DWORD>(attributes));
    }
    return bytes;
}

/// A TOKEN_GROUPS: a count and, from byte 8, 16 bytes per group.
std::vector<BYTE> groupBytes(const SidList& list) {
    Bytes bytes;
    bytes.add(static_cast<DWORD>(list.size())).add(DWORD{0});
    for (const auto& [sid, attributes] : list) {
        bytes.add(sid.sid()).add(static_cast<DWORD>(attributes)).add(DWORD{0});
    }
    return bytes;
}

const PrivilegeList somePrivileges = {{{17, 1}, SE_PRIVILEGE_ENABLED}, {{18, -1}, 0}};
const PrivilegeList formerPrivileges = {{{19, 2}, 3}, {{20, 0}, 0}};

void expectPrivileges(const PrivilegeList& list, const PrivilegeList& expected) {
    EXPECT_EQ(privilegeBytes(list), privilegeBytes(expected));
}

TEST_F(AdjustmentTest, AListOfPrivilegesGoesToWindowsWithoutAPlaceForTheFormerState) {
    answer({{}});
    EXPECT_TRUE(mToken.adjustPrivileges(&somePrivileges));
    ASSERT_EQ(calls().size(), 1U);
    const Call& call = calls()[0];
    EXPECT_EQ(call.token, mToken.token());
    EXPECT_EQ(call.all, FALSE);
    EXPECT_EQ(call.block, privilegeBytes(somePrivileges));
    EXPECT_EQ(call.block.size(), 4U + 2 * 12);
    EXPECT_EQ(call.size, 0U);
    EXPECT_FALSE(call.hasState);
    EXPECT_FALSE(call.hasNeeded);
}

TEST_F(AdjustmentTest, WithoutAListAllPrivilegesAreDisabled) {
    answer({{}});
    EXPECT_TRUE(mToken.adjustPrivileges(nullptr));
    EXPECT_EQ(calls()[0].all, TRUE);
    EXPECT_FALSE(calls()[0].hasBlock);
}

TEST_F(AdjustmentTest, AnEmptyListDisablesNoPrivilege) {
    const PrivilegeList none;
    answer({{}});
    EXPECT_TRUE(mToken.adjustPrivileges(&none));
    EXPECT_EQ(calls()[0].all, FALSE);
    EXPECT_EQ(calls()[0].block, privilegeBytes(none));
}

TEST_F(AdjustmentTest, FormerPrivilegesAreAskedForWithFourBytesThenTheReportedSize) {
    const std::vector<BYTE> state = privilegeBytes(formerPrivileges);
    for (const BOOL first : {FALSE, TRUE}) {
        answer({{first, ERROR_INSUFFICIENT_BUFFER, 28}, {TRUE, NO_ERROR, 28, state}});
        PrivilegeList previous = {{{9, 9}, 9}};
        EXPECT_TRUE(mToken.adjustPrivileges(&somePrivileges, &previous));
        expectPrivileges(previous, formerPrivileges);
        ASSERT_EQ(calls().size(), 2U);
        EXPECT_EQ(calls()[0].size, 4U);
        EXPECT_EQ(calls()[1].size, 28U);
        for (const Call& call : calls()) {
            EXPECT_EQ(call.token, mToken.token());
            EXPECT_EQ(call.all, FALSE);
            EXPECT_EQ(call.block, privilegeBytes(somePrivileges));
            EXPECT_TRUE(call.hasState);
            EXPECT_TRUE(call.hasNeeded);
        }
    }
}

TEST_F(AdjustmentTest, WithoutAReportedSizeThereIsNoSecondCallAndTheListStays) {
    answer({{}});
    PrivilegeList previous = {{{9, 9}, 9}};
    EXPECT_TRUE(mToken.adjustPrivileges(nullptr, &previous));
    EXPECT_EQ(calls().size(), 1U);
    expectPrivileges(previous, {{{9, 9}, 9}});
}

TEST_F(AdjustmentTest, AFormerStateOfNoPrivilegesLeavesNone) {
    answer({{FALSE, ERROR_INSUFFICIENT_BUFFER, 4}, {TRUE, NO_ERROR, 4, privilegeBytes({})}});
    PrivilegeList previous = {{{9, 9}, 9}};
    EXPECT_TRUE(mToken.adjustPrivileges(nullptr, &previous));
    EXPECT_EQ(calls()[1].size, 4U);
    EXPECT_TRUE(previous.empty());
}

TEST_F(AdjustmentTest, MissingPrivilegesGiveFalseAfterAFailureAndTrueAfterASuccess) {
    for (const BOOL result : {FALSE, TRUE}) {
        answer({{result, ERROR_NOT_ALL_ASSIGNED}});
        EXPECT_EQ(mToken.adjustPrivileges(&somePrivileges), result == TRUE);
    }
}

TEST_F(AdjustmentTest, MissingPrivilegesFailingEitherCallGiveFalseAndFormerState) {
    const std::vector<BYTE> state = privilegeBytes(formerPrivileges);
    const Answer tooSmall = {FALSE, ERROR_INSUFFICIENT_BUFFER, 28};
    const Answer missingAtFirst = {FALSE, ERROR_NOT_ALL_ASSIGNED, 28};
    struct Row {
        Answer first, second;
        bool result;
    };
    const Row rows[] = {
        {missingAtFirst, {TRUE, NO_ERROR, 28, state}, false},
        {tooSmall, {FALSE, ERROR_NOT_ALL_ASSIGNED, 28, state}, false},
        {missingAtFirst, {FALSE, ERROR_NOT_ALL_ASSIGNED, 28, state}, false},
        {tooSmall, {TRUE, ERROR_NOT_ALL_ASSIGNED, 28, state}, true},
    };
    for (const Row& row : rows) {
        answer({row.first, row.second});
        PrivilegeList previous;
        EXPECT_EQ(mToken.adjustPrivileges(&somePrivileges, &previous), row.result);
        expectPrivileges(previous, formerPrivileges);
    }
}

TEST_F(AdjustmentTest, OtherFailuresToAdjustPrivilegesNameTheCall) {
    PrivilegeList previous = {{{9, 9}, 9}};
    const auto adjust = [&] {
        static_cast<void>(mToken.adjustPrivileges(&somePrivileges, &previous));
    };
    answer({{FALSE, ERROR_ACCESS_DENIED}});
    expectFailedCall(privilegesCall, ERROR_ACCESS_DENIED, adjust);
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_INSUFFICIENT_BUFFER}) {
        answer({{FALSE, ERROR_INSUFFICIENT_BUFFER, 28}, {FALSE, error, 28}});
        expectFailedCall(privilegesCall, error, adjust);
        answer({{FALSE, error}});
        expectFailedCall(privilegesCall, error,
                         [&] { static_cast<void>(mToken.adjustPrivileges(&somePrivileges)); });
    }
    expectPrivileges(previous, {{{9, 9}, 9}});
}

class GroupAdjustmentTest : public AdjustmentTest {
protected:
    const SecurityIdentifier mEveryone{"S-1-1-0"};
    const SecurityIdentifier mSystem{"S-1-5-18"};
    const SidList mGroups = {{mEveryone, 1}, {mSystem, SE_GROUP_ENABLED}};
};

TEST_F(GroupAdjustmentTest, AListOfGroupsGoesToWindowsWithItsEntriesFromByteEight) {
    answer({{}});
    EXPECT_TRUE(mToken.adjustGroups(&mGroups));
    ASSERT_EQ(calls().size(), 1U);
    const Call& call = calls()[0];
    EXPECT_EQ(call.token, mToken.token());
    EXPECT_EQ(call.all, FALSE);
    EXPECT_EQ(call.block, groupBytes(mGroups));
    EXPECT_EQ(call.size, 0U);
    EXPECT_FALSE(call.hasState);
    EXPECT_FALSE(call.hasNeeded);
}

TEST_F(GroupAdjustmentTest, WithoutAListTheGroupsBecomeWhatTheyAreByDefault) {
    answer({{}});
    EXPECT_TRUE(mToken.adjustGroups(nullptr));
    EXPECT_EQ(calls()[0].all, TRUE);
    EXPECT_FALSE(calls()[0].hasBlock);
}

TEST_F(GroupAdjustmentTest, TheFormerGroupsAreDeepCopies) {
    SidList previous = {{mSystem, 9}};
    {
        const SidList former = {{SecurityIdentifier("S-1-5-19"), 3}, {mEveryone, 4}};
        answer({{TRUE, NO_ERROR, 40}, {TRUE, NO_ERROR, 40, groupBytes(former)}});
        EXPECT_TRUE(mToken.adjustGroups(&mGroups, &previous));
    }
    ASSERT_EQ(calls().size(), 2U);
    EXPECT_EQ(calls()[0].size, 4U);
    EXPECT_EQ(calls()[1].size, 40U);
    for (const Call& call : calls()) {
        EXPECT_EQ(call.block, groupBytes(mGroups));
        EXPECT_TRUE(call.hasState);
        EXPECT_TRUE(call.hasNeeded);
    }
    ASSERT_EQ(previous.size(), 2U);
    EXPECT_TRUE(previous[0].first.isOwner());
    EXPECT_EQ(previous[0].first.text(), "S-1-5-19");
    EXPECT_EQ(previous[0].second, 3U);
    EXPECT_EQ(previous[1].first, mEveryone);
    EXPECT_EQ(previous[1].second, 4U);
}

TEST_F(GroupAdjustmentTest, WithoutAReportedSizeThereIsNoSecondCallAndTheListStays) {
    answer({{}});
    SidList previous = {{mSystem, 9}};
    EXPECT_TRUE(mToken.adjustGroups(nullptr, &previous));
    EXPECT_EQ(calls().size(), 1U);
    EXPECT_EQ(previous.size(), 1U);
}

TEST_F(GroupAdjustmentTest, AnyFailureOfTheFirstCallNamesIt) {
    SidList previous;
    for (const DWORD error :
         {ERROR_INSUFFICIENT_BUFFER, ERROR_NOT_ALL_ASSIGNED, ERROR_ACCESS_DENIED}) {
        answer({{FALSE, error, 40}});
        expectFailedCall(groupsCall, error,
                         [&] { static_cast<void>(mToken.adjustGroups(&mGroups, &previous)); });
        answer({{FALSE, error}});
        expectFailedCall(groupsCall, error,
                         [&] { static_cast<void>(mToken.adjustGroups(nullptr)); });
    }
}

TEST_F(GroupAdjustmentTest, OfTheSecondCallAFailureForMissingGroupsGivesFalse) {
    SidList previous;
    answer({{TRUE, NO_ERROR, 40}, {FALSE, ERROR_NOT_ALL_ASSIGNED, 40, groupBytes(mGroups)}});
    EXPECT_FALSE(mToken.adjustGroups(nullptr, &previous));
    EXPECT_EQ(previous.size(), 2U);
    answer({{TRUE, NO_ERROR, 40}, {FALSE, ERROR_INSUFFICIENT_BUFFER, 40}});
    expectFailedCall(groupsCall, ERROR_INSUFFICIENT_BUFFER,
                     [&] { static_cast<void>(mToken.adjustGroups(nullptr, &previous)); });
    EXPECT_EQ(previous.size(), 2U);
}

TEST_F(GroupAdjustmentTest, AGroupThatCannotBeCopiedLeavesTheListAsItWas) {
    SidList previous = {{mSystem, 9}};
    answer({{TRUE, NO_ERROR, 40}, {TRUE, NO_ERROR, 40, groupBytes(mGroups)}});
    const RefusedCall<decltype(CopySid)> call("CopySid", ERROR_INVALID_SID, /*before=*/1);
    expectFailedCall("CopySid", ERROR_INVALID_SID,
                     [&] { static_cast<void>(mToken.adjustGroups(&mGroups, &previous)); });
    ASSERT_EQ(previous.size(), 1U);
    EXPECT_EQ(previous[0].first, mSystem);
}

}  // namespace
