#include "util/windows/scopedhandle-win.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/calls/debugoutput-win.h"
#include "testing/calls/memoryshortage-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"

namespace {

using namespace testing_support;

const HANDLE gSomeHandle = reinterpret_cast<HANDLE>(0x1234);
std::vector<HANDLE> gClosed;

/// Replaces CloseHandle and records its arguments.
class ClosedHandles {
public:
    explicit ClosedHandles(decltype(CloseHandle)* replacement) : mCall("CloseHandle", replacement) {
        gClosed.clear();
    }

private:
    ReplacedCall<decltype(CloseHandle)> mCall;
};

BOOL WINAPI closeAll(HANDLE handle) {
    gClosed.push_back(handle);
    return TRUE;
}

BOOL WINAPI closeNone(HANDLE handle) {
    gClosed.push_back(handle);
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

bool isHandle(HANDLE handle) {
    DWORD flags = 0;
    return GetHandleInformation(handle, &flags) != FALSE;
}

TEST(ScopedHandleTest, TheHandleIsClosedAtTheEndOfTheScope) {
    HANDLE event = CreateEventW(/*lpEventAttributes=*/nullptr, TRUE, FALSE, /*lpName=*/nullptr);
    ASSERT_NE(event, nullptr);
    {
        const ScopedHandle handle(event);
        EXPECT_EQ(handle.get(), event);
        EXPECT_TRUE(handle.isOpen());
        EXPECT_TRUE(isHandle(event));
    }
    EXPECT_FALSE(isHandle(event));
}

TEST(ScopedHandleTest, AReleaseClosesOnceAndLeavesMinusOne) {
    const ClosedHandles calls(closeAll);
    {
        ScopedHandle handle(gSomeHandle);
        handle.release();
        EXPECT_EQ(handle.get(), INVALID_HANDLE_VALUE);
        EXPECT_FALSE(handle.isOpen());
        handle.release();
    }
    EXPECT_EQ(gClosed, std::vector<HANDLE>{gSomeHandle});
}

TEST(ScopedHandleTest, NullAndMinusOneAreLeftAsTheyAre) {
    const ClosedHandles calls(closeAll);
    for (HANDLE none : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE}) {
        ScopedHandle handle(none);
        EXPECT_FALSE(handle.isOpen());
        handle.release();
        EXPECT_EQ(handle.get(), none);
    }
    EXPECT_TRUE(gClosed.empty());
}

TEST(ScopedHandleTest, AHandleThatCannotBeClosedIsReportedToTheDebuggerWithItsPlace) {
    const ClosedHandles calls(closeNone);
    const SystemMessage none(L"");
    const DebugOutput output;
    ScopedHandle handle(gSomeHandle, "util/place.cpp", 17, "openPlace");
    handle.release();
    EXPECT_EQ(output.texts(),
              std::vector<std::string>{
                  "openPlace@util/place.cpp:17:  CloseHandle: Windows error 6 (6)\n"});
    EXPECT_EQ(handle.get(), INVALID_HANDLE_VALUE);
}

TEST(ScopedHandleTest, AHandleThatCannotBeClosedIsTriedOnceOnly) {
    const ClosedHandles calls(closeNone);
    const DebugOutput output;
    { const ScopedHandle handle(gSomeHandle); }
    EXPECT_EQ(gClosed.size(), 1U);
    EXPECT_EQ(output.texts().size(), 1U);
}

/// Releases handles that can't be closed, with more and more memory for the report.
void releaseWithLittleMemory() {
    const ClosedHandles calls(closeNone);
    gClosed.reserve(100);
    ScopedHandle(gSomeHandle).release();  // the runtime's one-time allocations are done here
    for (int blocks = 0; blocks < 30; ++blocks) {
        ScopedHandle handle(gSomeHandle);
        const MemoryShortage shortage(blocks);
        handle.release();
        if (handle.isOpen()) {
            std::exit(1);
        }
    }
    std::fputs("released", stderr);
    std::exit(gClosed.size() == 31 ? 0 : 1);
}

TEST(ScopedHandleDeathTest, LackOfMemoryLosesTheMessageAndNothingElse) {
    EXPECT_EXIT(releaseWithLittleMemory(), testing::ExitedWithCode(0), "released");
}

TEST(ScopedHandleTest, ThePlaceIsByDefaultWhereTheObjectIsMade) {
    const ClosedHandles calls(closeNone);
    const DebugOutput output;
    const int line = __LINE__ + 1;
    ScopedHandle handle(gSomeHandle);
    handle.release();
    ASSERT_EQ(output.texts().size(), 1U);
    const std::string place =
        "TestBody@util/windows/scopedhandle-win_test.cpp:" + std::to_string(line) +
        ":  CloseHandle: ";
    EXPECT_EQ(output.texts()[0].substr(0, place.size()), place);
}

TEST(ScopedHandleTest, AWindowsCallPutsItsHandleInThePlaceOfTheOneBefore) {
    const ClosedHandles calls(closeAll);
    HANDLE const other = reinterpret_cast<HANDLE>(0x5678);
    ScopedHandle handle(gSomeHandle);
    HANDLE* place = handle.receive();
    EXPECT_EQ(gClosed, std::vector<HANDLE>{gSomeHandle});
    EXPECT_EQ(*place, INVALID_HANDLE_VALUE);
    *place = other;
    EXPECT_EQ(handle.get(), other);
    handle.release();
    EXPECT_EQ(gClosed.back(), other);
}

TEST(ScopedHandleTest, ADetachedHandleIsTheCallersAndIsNotClosed) {
    const ClosedHandles calls(closeAll);
    {
        ScopedHandle handle(gSomeHandle);
        EXPECT_EQ(handle.detach(), gSomeHandle);
        EXPECT_EQ(handle.get(), INVALID_HANDLE_VALUE);
        EXPECT_FALSE(handle.isOpen());
        EXPECT_EQ(handle.detach(), INVALID_HANDLE_VALUE);
    }
    EXPECT_TRUE(gClosed.empty());
}

TEST(ScopedHandleTest, NullIsDetachedLikeAHandle) {
    ScopedHandle handle;
    EXPECT_EQ(handle.detach(), nullptr);
    EXPECT_EQ(handle.get(), INVALID_HANDLE_VALUE);
}

TEST(ScopedHandleTest, AfterADetachAnotherHandleCanBeReceived) {
    const ClosedHandles calls(closeAll);
    {
        ScopedHandle handle(gSomeHandle);
        static_cast<void>(handle.detach());  // the test's own number
        *handle.receive() = reinterpret_cast<HANDLE>(0x5678);
    }
    EXPECT_EQ(gClosed, std::vector<HANDLE>{reinterpret_cast<HANDLE>(0x5678)});
}

TEST(ScopedHandleTest, AMovedHandleIsClosedOnceByItsNewOwner) {
    const ClosedHandles calls(closeAll);
    {
        ScopedHandle first(gSomeHandle);
        {
            const ScopedHandle second(std::move(first));
            EXPECT_EQ(second.get(), gSomeHandle);
            // NOLINTNEXTLINE(bugprone-use-after-move): a moved handle is defined to hold -1.
            EXPECT_EQ(first.get(), INVALID_HANDLE_VALUE);
        }
        EXPECT_EQ(gClosed, std::vector<HANDLE>{gSomeHandle});
    }
    EXPECT_EQ(gClosed.size(), 1U);
}

TEST(ScopedHandleTest, AnAssignedHandleClosesTheOneBefore) {
    const ClosedHandles calls(closeAll);
    ScopedHandle handle(gSomeHandle);
    ScopedHandle other(reinterpret_cast<HANDLE>(0x5678));
    handle = std::move(other);
    EXPECT_EQ(gClosed, std::vector<HANDLE>{gSomeHandle});
    EXPECT_EQ(handle.detach(), reinterpret_cast<HANDLE>(0x5678));
    // NOLINTNEXTLINE(bugprone-use-after-move): a moved handle is defined to hold -1.
    EXPECT_FALSE(other.isOpen());
}

TEST(ScopedHandleTest, AHandleThatIsMovedToItselfStaysOpen) {
    const ClosedHandles calls(closeAll);
    ScopedHandle handle(gSomeHandle);
    ScopedHandle& same = handle;
    handle = std::move(same);
    EXPECT_EQ(handle.get(), gSomeHandle);
    EXPECT_TRUE(gClosed.empty());
}

TEST(ScopedHandleTest, AMovedHandleKeepsThePlaceWhereItWasMade) {
    const ClosedHandles calls(closeNone);
    const DebugOutput output;
    ScopedHandle moved;
    moved = ScopedHandle(gSomeHandle, "util/place.cpp", 17, "openPlace");
    ScopedHandle again(std::move(moved));
    again.release();
    ASSERT_EQ(output.texts().size(), 1U);
    EXPECT_EQ(output.texts()[0].substr(0, 29), "openPlace@util/place.cpp:17: ");
}

TEST(ScopedHandleTest, ItStartsWithoutAHandle) { EXPECT_EQ(ScopedHandle().get(), nullptr); }

}  // namespace
