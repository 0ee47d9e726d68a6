#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/socketerror-win.h"
#include "testing/calls/systemmessage-win.h"
#include "util/platform/errortext-win.h"

namespace {

using namespace testing_support;

// A number in the range for applications, for which the system has no message.
constexpr uint32_t noSystemError = 0x20004711;

TEST(LastErrorTextTest, ItIsTheErrorTextOfTheSameArguments) {
    const SystemMessage none(L"");
    const SocketError socketError(10054);
    const uint32_t zero = 0;
    const uint32_t five = 5;
    SetLastError(7);
    EXPECT_STREQ(lastErrorText(false, &five, errorOfSystem), "Error 5");
    EXPECT_STREQ(lastErrorText(true, &five, errorOfEither), "Error 5 (error code 5)");
    EXPECT_STREQ(lastErrorText(false, &zero, errorOfEither), "Error 10054");
    EXPECT_STREQ(lastErrorText(false, &five, errorOfSockets), "Error 10054");
}

TEST(LastErrorTextTest, ANullErrorIsTheLastError) {
    const SystemMessage none(L"");
    const SocketError socketError(10054);
    const struct {
        DWORD lastError;
        WhichError which;
        const char* text;
    } rows[] = {
        {7, errorOfEither, "Error 7"},      {7, errorOfSystem, "Error 7"},
        {7, errorOfSockets, "Error 10054"}, {0, errorOfSystem, "Error 0"},
        {0, errorOfEither, "Error 10054"},
    };
    for (const auto& row : rows) {
        SetLastError(row.lastError);
        EXPECT_STREQ(lastErrorText(false, nullptr, row.which), row.text);
    }
}

TEST(LastErrorTextTest, TheNextCallOfTheSameThreadTakesThePlaceOfTheText) {
    const uint32_t number = noSystemError;
    const uint32_t other = noSystemError + 1;
    const char* first = lastErrorText(false, &number, errorOfSystem);
    EXPECT_STREQ(first, "Error 536889105");
    const char* second = lastErrorText(false, &other, errorOfSystem);
    EXPECT_STREQ(second, "Error 536889106");
    // Both have the same length, so the thread's string doesn't move.
    EXPECT_EQ(second, first);
}

TEST(LastErrorTextTest, EachThreadHasATextOfItsOwn) {
    const uint32_t number = noSystemError;
    const char* mine = lastErrorText(false, &number, errorOfSystem);
    std::string theirs;
    std::thread([&theirs] {
        const uint32_t other = 0xffffffff;
        theirs = lastErrorText(false, &other, errorOfSystem);
    }).join();
    EXPECT_STREQ(mine, "Error 536889105");
    EXPECT_EQ(theirs, "Error 0xffffffff");
}

std::atomic<const void*> gThreadText{nullptr};
std::atomic<int> gTextsFreed{0};
void (*gFree)(void*) = nullptr;

void watchFree(void* memory) {
    if (memory != nullptr && memory == gThreadText) {
        ++gTextsFreed;
    }
    gFree(memory);
}

TEST(LastErrorTextTest, TheTextOfAThreadIsFreedWhenTheThreadEnds) {
    const SystemMessage message(L"A sentence that is too long for the place inside a string.");
    const ReplacedCall<void(void*)> call("free", watchFree);
    gFree = call.original();
    gTextsFreed = 0;
    std::thread([] {
        const uint32_t number = 5;
        gThreadText = lastErrorText(false, &number, errorOfSystem);
        EXPECT_EQ(gTextsFreed, 0);
    }).join();
    EXPECT_EQ(gTextsFreed, 1);
    gThreadText = nullptr;
}

TEST(LastErrorTextTest, TheFirstCallOfAThreadReportsTheSocketErrorAsItWas) {
    const SystemMessage none(L"");
    std::string text;
    std::thread([&text] {
        WSASetLastError(10054);
        text = lastErrorText(false, nullptr, errorOfSockets);
    }).join();
    EXPECT_EQ(text, "Error 10054");
}

}  // namespace
