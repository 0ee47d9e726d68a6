#include "journal/appendturn-win.h"

#include <atomic>
#include <filesystem>
#include <future>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;
using journal::AppendTurn;

class AppendTurnTest : public testing::Test {
protected:
    ScopedHandle open(const char* name) const {
        return ScopedHandle(CreateFileW((mFolder.path() / name).c_str(),
                                        FILE_APPEND_DATA | FILE_READ_ATTRIBUTES,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_ALWAYS, 0, nullptr));
    }

    /// `scope` has the turn of both objects of the fixture.
    void expectHeldUntilReset(std::optional<AppendTurn::Scope>& scope) {
        std::atomic<bool> isTaken = false;
        std::jthread waiter([&] {
            const AppendTurn::Scope other(mOther);
            isTaken = true;
        });
        Sleep(50);
        EXPECT_FALSE(isTaken);
        scope.reset();
        waiter.join();
        EXPECT_TRUE(isTaken);
    }

    TempFolder mFolder;
    ScopedHandle mFile = open("a");
    ScopedHandle mSameFile = open(".\\a");
    AppendTurn mTurn{mFile.get()};
    AppendTurn mOther{mSameFile.get()};
};

TEST_F(AppendTurnTest, OneAtATimeHasTheTurn) {
    constexpr int rounds = 20'000;
    int count = 0;  // unguarded but for the turn
    std::atomic<int> inside = 0;
    bool wereTwo = false;
    const auto takeTurns = [&](AppendTurn& turn) {
        for (int i = 0; i < rounds; ++i) {
            const AppendTurn::Scope scope(turn);
            wereTwo = ++inside != 1 || wereTwo;
            ++count;
            --inside;
        }
    };
    std::jthread other([&] { takeTurns(mOther); });
    takeTurns(mTurn);
    other.join();
    EXPECT_FALSE(wereTwo);
    EXPECT_EQ(count, 2 * rounds);
}

TEST_F(AppendTurnTest, WhoWaitsGetsTheTurnWhenItIsFree) {
    std::optional<AppendTurn::Scope> scope(std::in_place, mTurn);
    expectHeldUntilReset(scope);
}

TEST_F(AppendTurnTest, ATurnThatIsKeptTooLongIsTakenAwayAndNotGivenBackTwice) {
    std::optional<AppendTurn::Scope> kept(std::in_place, mTurn);
    std::promise<void> taken;
    std::promise<void> mayEnd;
    std::jthread taker([&] {
        const AppendTurn::Scope scope(mOther);
        taken.set_value();
        mayEnd.get_future().wait();
    });
    taken.get_future().wait();
    kept.reset();  // the turn is the other's now
    std::atomic<bool> isThird = false;
    std::jthread third([&] {
        const AppendTurn::Scope scope(mTurn);
        isThird = true;
    });
    Sleep(50);
    EXPECT_FALSE(isThird);
    mayEnd.set_value();
    third.join();
    EXPECT_TRUE(isThird);
}

TEST_F(AppendTurnTest, AnotherFileHasAnotherTurn) {
    const ScopedHandle file = open("b");
    AppendTurn turn(file.get());
    std::optional<AppendTurn::Scope> scope(std::in_place, mTurn);
    // Were it the same turn, it would be taken from the scope and then be free.
    { const AppendTurn::Scope other(turn); }
    expectHeldUntilReset(scope);
}

TEST_F(AppendTurnTest, WithoutSharedMemoryThereIsNothingToWaitFor) {
    std::optional<AppendTurn> turn;
    {
        const RefusedCall<decltype(CreateFileMappingW)> noMemory("CreateFileMappingW",
                                                                 ERROR_COMMITMENT_LIMIT);
        turn.emplace(mFile.get());
    }
    AppendTurn ofNoFile(nullptr);
    std::optional<AppendTurn::Scope> scope(std::in_place, mTurn);
    {
        const AppendTurn::Scope other(*turn);
        const AppendTurn::Scope third(ofNoFile);
    }
    expectHeldUntilReset(scope);
}

}  // namespace
