#include "testing/calls/quickwakes-win.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "testing/processes/startedchild-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

[[gnu::noinline]] DWORD waitFor(HANDLE object, DWORD milliseconds) {
    return WaitForSingleObject(object, milliseconds);
}

class Event {
public:
    Event() : mHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    ~Event() { CloseHandle(mHandle); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    HANDLE get() const { return mHandle; }

private:
    HANDLE mHandle;
};

TEST(QuickWakesTest, EachWaitInVainCallsTheActionWithItsNumberAndReturnsItsResult) {
    std::vector<size_t> numbers;
    QuickWakes wakes([&](size_t number) -> DWORD {
        numbers.push_back(number);
        SetLastError(ERROR_NOT_READY);
        return number == 1 ? WAIT_TIMEOUT : WAIT_FAILED;
    });
    EXPECT_EQ(waitFor(GetCurrentProcess(), 500), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(waitFor(GetCurrentProcess(), 500), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
    EXPECT_EQ(numbers, (std::vector<size_t>{1, 2}));
    EXPECT_EQ(wakes.timeouts(), 2U);
    wakes.onTimeout({});
    EXPECT_EQ(wakes.timeouts(), 0U);
    EXPECT_EQ(waitFor(GetCurrentProcess(), 500), DWORD{WAIT_TIMEOUT});
}

TEST(QuickWakesTest, TheEndOfAProcessCanBeAwaited) {
    const TempFolder folder;
    const StartedChild child({.actions = {"await", folder.utf8("go")}});
    HANDLE process = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, child.pid());
    const QuickWakes wakes([&](size_t) -> DWORD {
        folder.write("go", "");
        return QuickWakes::awaitEnd;
    });
    EXPECT_EQ(waitFor(process, 500), WAIT_OBJECT_0);
    EXPECT_EQ(waitFor(process, 500), WAIT_OBJECT_0);
    EXPECT_EQ(wakes.timeouts(), 1U);
    CloseHandle(process);
}

TEST(QuickWakesTest, OtherWaitsAreNotItsOwn) {
    const Event event;
    const QuickWakes wakes;
    EXPECT_EQ(waitFor(GetCurrentProcess(), 1), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(waitFor(event.get(), 500), DWORD{WAIT_TIMEOUT});
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(waitFor(INVALID_HANDLE_VALUE, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(waitFor(nullptr, 500), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(wakes.timeouts(), 0U);
}

TEST(QuickWakesTest, ASecondOneIsRefusedAndTheFirstStays) {
    const QuickWakes wakes;
    EXPECT_THROW(static_cast<void>(QuickWakes()), std::logic_error);
    waitFor(GetCurrentProcess(), 500);
    EXPECT_EQ(wakes.timeouts(), 1U);
}

}  // namespace
