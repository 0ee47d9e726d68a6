#include "testing/calls/systemmessage-win.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace testing_support;

__attribute__((noinline)) DWORD ask(DWORD flags, wchar_t* buffer, DWORD size) {
    return FormatMessageW(flags, /*lpSource=*/nullptr, /*dwMessageId=*/5, /*dwLanguageId=*/1024,
                          buffer, size, /*Arguments=*/nullptr);
}

TEST(SystemMessageTest, TheMessageIsGivenInTheCallersBuffer) {
    const SystemMessage message(L"no.\r\n");
    wchar_t buffer[20] = L"";
    EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM, buffer, 20), 5U);
    EXPECT_EQ(std::wstring(buffer), L"no.\r\n");
    ASSERT_EQ(message.calls().size(), 1U);
    EXPECT_EQ(message.calls()[0].flags, static_cast<DWORD>(FORMAT_MESSAGE_FROM_SYSTEM));
    EXPECT_EQ(message.calls()[0].number, 5U);
    EXPECT_EQ(message.calls()[0].language, 1024U);
    EXPECT_EQ(message.calls()[0].size, 20U);
}

TEST(SystemMessageTest, TheMessageIsGivenInABufferOfItsOwnToCallersThatAskForIt) {
    const SystemMessage message(L"no.\r\n");
    wchar_t* buffer = nullptr;
    ASSERT_EQ(ask(FORMAT_MESSAGE_ALLOCATE_BUFFER, reinterpret_cast<wchar_t*>(&buffer), 0), 5U);
    EXPECT_EQ(std::wstring(buffer), L"no.\r\n");
    EXPECT_EQ(message.calls()[0].allocated, buffer);
    LocalFree(buffer);
}

TEST(SystemMessageTest, ABufferWithoutRoomForTheTerminatorIsTooShort) {
    const SystemMessage message(L"no.\r\n");
    wchar_t buffer[6] = L"kept";
    SetLastError(0);
    EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM, buffer, 5), 0U);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(std::wstring(buffer), L"kept");
    EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM, buffer, 6), 5U);
}

TEST(SystemMessageTest, AMessageWithAGapIsRefusedUnlessGapsAreIgnored) {
    const SystemMessage message(L"no %1.");
    wchar_t buffer[20] = L"";
    SetLastError(0);
    EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM, buffer, 20), 0U);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, buffer, 20), 6U);
    EXPECT_EQ(std::wstring(buffer), L"no %1.");
}

TEST(SystemMessageTest, ASinglePercentSignIsNoGap) {
    const SystemMessage message(L"100 % full");
    wchar_t buffer[20] = L"";
    EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM, buffer, 20), 10U);
}

TEST(SystemMessageTest, AGapAfterOtherPercentSignsIsOne) {
    for (const wchar_t* text : {L"100 % full: %1", L"%n%1", L"%%%1"}) {
        const SystemMessage message(text);
        wchar_t buffer[20] = L"";
        SetLastError(0);
        EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM, buffer, 20), 0U);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST(SystemMessageTest, ADoubledPercentSignBeforeADigitIsNoGap) {
    const SystemMessage message(L"100%%1");
    wchar_t buffer[20] = L"";
    EXPECT_EQ(ask(FORMAT_MESSAGE_FROM_SYSTEM, buffer, 20), 6U);
}

TEST(SystemMessageTest, AnEmptyMessageIsNone) {
    const SystemMessage none(L"");
    wchar_t* buffer = nullptr;
    SetLastError(0);
    EXPECT_EQ(ask(FORMAT_MESSAGE_ALLOCATE_BUFFER, reinterpret_cast<wchar_t*>(&buffer), 0), 0U);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MR_MID_NOT_FOUND});
    EXPECT_EQ(buffer, nullptr);
}

}  // namespace
