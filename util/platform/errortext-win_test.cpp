#include "util/platform/errortext-win.h"

#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/socketerror-win.h"
#include "testing/calls/systemmessage-win.h"

namespace {

using namespace testing_support;

void expectOneCall(const SystemMessage& message, DWORD flags, const void* source, DWORD number,
                   DWORD size) {
    ASSERT_EQ(message.calls().size(), 1U);
    const SystemMessage::Call& call = message.calls()[0];
    EXPECT_EQ(call.flags, flags);
    EXPECT_EQ(call.source, source);
    EXPECT_EQ(call.number, number);
    EXPECT_EQ(call.language, DWORD{MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT)});
    EXPECT_EQ(call.size, size);
    EXPECT_EQ(call.arguments, nullptr);
}

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

// A number in the range for applications, for which the system has no message.
constexpr uint32_t noSystemError = 0x20004711;

TEST(Win32ExceptionTest, ItHoldsItsNumberAndItsTextEndsInTheNumberInBrackets) {
    const Win32Exception failure("CopySid", 5);
    EXPECT_EQ(failure.mError, 5U);
    const std::string text = failure.what();
    EXPECT_EQ(text.substr(0, 9), "CopySid: ");
    EXPECT_TRUE(endsWith(text, " (5)")) << text;
    EXPECT_EQ(text, win32ErrorText("CopySid", 5));
}

TEST(Win32ExceptionTest, WithoutANumberItTakesTheLastError) {
    SetLastError(1332);
    const Win32Exception failure("LookupAccountSid");
    EXPECT_EQ(failure.mError, 1332U);
    EXPECT_TRUE(endsWith(failure.what(), " (1332)")) << failure.what();
}

TEST(Win32ExceptionTest, ItCanBeCaughtByReferenceAndAsARuntimeError) {
    try {
        throw Win32Exception("CopySid", 0x80070005);
    } catch (Win32Exception& failure) {
        EXPECT_EQ(failure.mError, 0x80070005U);
    }
    EXPECT_THROW(throw Win32Exception("CopySid", 5), std::runtime_error);
}

TEST(NtExceptionTest, ItHoldsItsStatusAndItsTextEndsInHexadecimal) {
    const NtException failure("NTSTATUS", 0xC0000022);
    EXPECT_EQ(failure.mStatus, 0xC0000022U);
    const std::string text = failure.what();
    EXPECT_EQ(text.substr(0, 10), "NTSTATUS: ");
    EXPECT_TRUE(endsWith(text, " (0xc0000022)")) << text;
    EXPECT_EQ(text, ntErrorText("NTSTATUS", 0xC0000022));
}

TEST(NtExceptionTest, ASmallStatusEndsInHexadecimalAsWell) {
    EXPECT_TRUE(endsWith(NtException("NTSTATUS", 0x103).what(), " (0x103)"));
}

TEST(NtExceptionTest, ItCanBeCaughtByReferenceAndAsARuntimeError) {
    try {
        throw NtException("NTSTATUS", 0x80000005);
    } catch (NtException& failure) {
        EXPECT_EQ(failure.mStatus, 0x80000005U);
    }
    EXPECT_THROW(throw NtException("NTSTATUS", 5), std::runtime_error);
}

TEST(Win32ErrorTextTest, TheSentenceIsBetweenContextAndNumber) {
    const SystemMessage message(L"Access is denied.\r\n");
    EXPECT_EQ(win32ErrorText("CopySid", 5), "CopySid: Access is denied. (5)");
    EXPECT_EQ(win32ErrorText("GetTokenInformation(size query)", 0),
              "GetTokenInformation(size query): Access is denied. (0)");
}

TEST(Win32ErrorTextTest, ANegativeNumberIsInHexadecimalAfterTheSentence) {
    const SystemMessage message(L"Access is denied.\r\n");
    EXPECT_EQ(win32ErrorText("CopySid", static_cast<int>(0x80070005U)),
              "CopySid: Access is denied. (0x80070005)");
}

TEST(Win32ErrorTextTest, AllLineEndsAtTheEndAreStrippedAndNoOthers) {
    const struct {
        const wchar_t* message;
        const char* text;
    } rows[] = {
        {L"Denied.", "C: Denied. (5)"},
        {L"Denied.\n", "C: Denied. (5)"},
        {L"Denied.\r", "C: Denied. (5)"},
        {L"Denied.\n\r\r\n\n", "C: Denied. (5)"},
        {L"Denied. \r\n", "C: Denied.  (5)"},
        {L"Denied,\r\nagain.\r\n", "C: Denied,\r\nagain. (5)"},
        {L"\r\n", "C:  (5)"},
    };
    for (const auto& row : rows) {
        const SystemMessage message(row.message);
        EXPECT_EQ(win32ErrorText("C", 5), row.text);
    }
}

TEST(Win32ErrorTextTest, TheSentenceIsUtf8) {
    const SystemMessage message(L"Acc\x00E8s refus\x00E9 \xD83D\xDE00.\r\n");
    EXPECT_EQ(win32ErrorText("C", 5), "C: Acc\xC3\xA8s refus\xC3\xA9 \xF0\x9F\x98\x80. (5)");
}

TEST(Win32ErrorTextTest, WithoutASentenceTheNumberIsInItsPlace) {
    const SystemMessage none(L"");
    EXPECT_EQ(win32ErrorText("C", 5), "C: Windows error 5 (5)");
    EXPECT_EQ(win32ErrorText("C", 0), "C: Windows error 0 (0)");
    EXPECT_EQ(win32ErrorText("C", 0x7fffffff), "C: Windows error 2147483647 (2147483647)");
}

TEST(Win32ErrorTextTest, ASentenceOfMoreThan499CharactersIsNone) {
    {
        const SystemMessage message(std::wstring(499, L'x'));
        EXPECT_EQ(win32ErrorText("C", 5), "C: " + std::string(499, 'x') + " (5)");
    }
    const SystemMessage message(std::wstring(500, L'x'));
    EXPECT_EQ(win32ErrorText("C", 5), "C: Windows error 5 (5)");
    EXPECT_EQ(ntErrorText("C", 5), "C: NT error 0x00000005 (0x5)");
}

TEST(Win32ErrorTextTest, ASentenceWithGapsIsNone) {
    const SystemMessage message(L"Insert %2 into drive %1.\r\n");
    EXPECT_EQ(win32ErrorText("C", 34), "C: Windows error 34 (34)");
    EXPECT_EQ(ntErrorText("C", 34), "C: NT error 0x00000022 (0x22)");
}

TEST(Win32ErrorTextTest, WithoutASentenceANegativeNumberIsDecimalThenHexadecimal) {
    const SystemMessage none(L"");
    EXPECT_EQ(win32ErrorText("C", -1), "C: Windows error -1 (0xffffffff)");
    EXPECT_EQ(win32ErrorText("C", static_cast<int>(0x80000000U)),
              "C: Windows error -2147483648 (0x80000000)");
}

TEST(Win32ErrorTextTest, ANumberThatTheRealSystemDoesNotKnowGetsTheNumberToo) {
    EXPECT_EQ(win32ErrorText("C", noSystemError), "C: Windows error 536889105 (536889105)");
    EXPECT_EQ(win32ErrorText("C", -2), "C: Windows error -2 (0xfffffffe)");
}

TEST(Win32ErrorTextTest, TheRealSystemsSentenceIsTakenWithoutItsLineEnd) {
    const std::string text = win32ErrorText("C", ERROR_ACCESS_DENIED);
    EXPECT_EQ(text.find("Windows error"), std::string::npos) << text;
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
    EXPECT_GT(text.size(), std::string("C:  (5)").size());
}

TEST(Win32ErrorTextTest, ItAsksInTheNeutralLanguageFor500CharactersAndNoInserts) {
    const SystemMessage message(L"Denied.");
    static_cast<void>(win32ErrorText("C", -2));
    expectOneCall(message, FORMAT_MESSAGE_FROM_SYSTEM, /*source=*/nullptr, /*number=*/0xfffffffe,
                  /*size=*/500);
}

TEST(NtErrorTextTest, TheSentenceIsBetweenContextAndHexadecimalNumber) {
    const SystemMessage message(L"{Access Denied}\r\nA process was refused.\r\n");
    EXPECT_EQ(ntErrorText("NtOpenFile", 0xC0000022),
              "NtOpenFile: {Access Denied}\r\nA process was refused. (0xc0000022)");
    EXPECT_EQ(ntErrorText("NtOpenFile", 5),
              "NtOpenFile: {Access Denied}\r\nA process was refused. (0x5)");
}

TEST(NtErrorTextTest, WithoutASentenceTheNumberIsInItsPlaceInEightDigits) {
    const SystemMessage none(L"");
    EXPECT_EQ(ntErrorText("C", 0xC0000022), "C: NT error 0xc0000022 (0xc0000022)");
    EXPECT_EQ(ntErrorText("C", 5), "C: NT error 0x00000005 (0x5)");
    EXPECT_EQ(ntErrorText("C", 0), "C: NT error 0x00000000 (0x0)");
}

TEST(NtErrorTextTest, AStatusThatTheRealSystemDoesNotKnowGetsTheNumberToo) {
    EXPECT_EQ(ntErrorText("C", 0xE0004711), "C: NT error 0xe0004711 (0xe0004711)");
}

TEST(NtErrorTextTest, TheSentenceIsLookedUpInNtdll) {
    const SystemMessage message(L"Denied.");
    static_cast<void>(ntErrorText("C", 0xC0000022));
    expectOneCall(message, FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_FROM_HMODULE,
                  /*source=*/GetModuleHandleW(L"ntdll.dll"),
                  /*number=*/0xC0000022, /*size=*/500);
}

TEST(ErrorTextTest, TheNumberComesFromWhereTheRuleSays) {
    const uint32_t zero = 0;
    const uint32_t five = 5;
    const struct {
        const uint32_t* error;
        WhichError which;
        DWORD lastError;
        int socketError;
        DWORD number;
    } rows[] = {
        {&five, errorOfEither, 7, 10054, 5},
        {&zero, errorOfEither, 7, 10054, 10054},
        {&zero, errorOfEither, 7, 0, 0},
        {&five, errorOfSystem, 7, 10054, 5},
        {&zero, errorOfSystem, 7, 10054, 0},
        {&five, errorOfSockets, 7, 10054, 10054},
        {&five, errorOfSockets, 7, 0, 0},
        {nullptr, errorOfEither, 7, 10054, 7},
        {nullptr, errorOfEither, 0, 10054, 10054},
        {nullptr, errorOfEither, 0, 0, 0},
        {nullptr, errorOfSystem, 7, 10054, 7},
        {nullptr, errorOfSystem, 0, 10054, 10054},
        {nullptr, errorOfSockets, 7, 10054, 10054},
        {nullptr, errorOfSockets, 7, 0, 0},
        {&five, 3, 7, 10054, 5},
        {&zero, 3, 7, 10054, 10054},
        {&zero, -1, 7, 10054, 10054},
    };
    for (const auto& row : rows) {
        const SystemMessage none(L"");
        const SocketError socketError(row.socketError);
        SetLastError(row.lastError);
        EXPECT_EQ(errorText(false, row.error, row.which), "Error " + std::to_string(row.number))
            << &row - rows;
    }
}

TEST(ErrorTextTest, OneLineEndAndOneFullStopAreCutFromTheSentence) {
    const struct {
        const wchar_t* message;
        const char* text;
    } rows[] = {
        {L"Access is denied.\r\n", "Access is denied"},
        {L"Access is denied.\n", "Access is denied"},
        {L"Access is denied.", "Access is denied"},
        {L"Access is denied\r\n", "Access is denied"},
        {L"Access is denied", "Access is denied"},
        {L"Wait...\r\n", "Wait.."},
        {L"Denied.\r\n\r\n", "Denied.\r\n"},
        {L"Denied.\n\n", "Denied.\n"},
        {L"Denied.\r\r\n", "Denied.\r"},
        {L"Denied.\n\r", "Denied.\n"},
        {L"One. Two.\r\n", "One. Two"},
        {L".\r\n", ""},
        {L"\r\n", ""},
        {L"Refus\x00E9.\r\n", "Refus\xC3\xA9"},
    };
    const uint32_t number = 5;
    for (const auto& row : rows) {
        const SystemMessage message(row.message);
        EXPECT_EQ(errorText(false, &number, errorOfSystem), row.text);
    }
}

TEST(ErrorTextTest, WithoutASentenceTheNumberIsHexadecimalFromTheTopBitOn) {
    const struct {
        uint32_t number;
        const char* text;
    } rows[] = {
        {0, "Error 0"},
        {5, "Error 5"},
        {0x7fffffff, "Error 2147483647"},
        {0x80000000, "Error 0x80000000"},
        {0xffffffff, "Error 0xffffffff"},
    };
    for (const auto& row : rows) {
        const SystemMessage none(L"");
        EXPECT_EQ(errorText(false, &row.number, errorOfSystem), row.text);
    }
}

TEST(ErrorTextTest, ASentenceWithGapsIsIgnoredAndALongOneIsReturned) {
    const uint32_t number = 34;
    {
        const SystemMessage message(L"Insert %2 into drive %1.\r\n");
        EXPECT_EQ(errorText(false, &number, errorOfSystem), "Error 34");
    }
    const SystemMessage message(std::wstring(600, L'x'));
    EXPECT_EQ(errorText(false, &number, errorOfSystem), std::string(600, 'x'));
}

TEST(ErrorTextTest, ANumberThatTheRealSystemDoesNotKnowIsReportedAsANumber) {
    const uint32_t number = 0xffffffff;
    EXPECT_EQ(errorText(false, &number, errorOfSystem), "Error 0xffffffff");
    EXPECT_EQ(errorText(false, &noSystemError, errorOfSystem), "Error 536889105");
}

TEST(ErrorTextTest, TheRealSystemsSentenceComesWithoutLineEndAndFullStop) {
    const uint32_t number = ERROR_ACCESS_DENIED;
    const std::string text = errorText(false, &number, errorOfSystem);
    EXPECT_FALSE(text.empty());
    EXPECT_NE(text, "Error 5");
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
    EXPECT_NE(text.back(), '.');
}

TEST(ErrorTextTest, TheCodeFollowsInDecimalWhereItIsAskedFor) {
    const uint32_t five = 5;
    const uint32_t large = 0xffffffff;
    {
        const SystemMessage message(L"Access is denied.\r\n");
        EXPECT_EQ(errorText(true, &five, errorOfSystem), "Access is denied (error code 5)");
    }
    const SystemMessage none(L"");
    EXPECT_EQ(errorText(true, &five, errorOfSystem), "Error 5 (error code 5)");
    EXPECT_EQ(errorText(true, &large, errorOfSystem), "Error 0xffffffff (error code 4294967295)");
}

TEST(ErrorTextTest, TheSystemIsAskedToAllocateAndInTheNeutralLanguage) {
    const SystemMessage message(L"Denied.");
    const uint32_t number = 5;
    static_cast<void>(errorText(false, &number, errorOfSystem));
    expectOneCall(message, FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM,
                  /*source=*/nullptr, /*number=*/5, /*size=*/0);
}

const void* gFreed = nullptr;

HLOCAL WINAPI keepFreed(HLOCAL memory) {
    gFreed = memory;
    SetLastError(ERROR_INVALID_HANDLE);
    return memory;
}

TEST(ErrorTextTest, TheSystemsBufferIsFreedBeforeTheErrorIsRestored) {
    const SystemMessage message(L"Denied.");
    const ReplacedCall<decltype(LocalFree)> call("LocalFree", keepFreed);
    const uint32_t number = 5;
    SetLastError(7);
    static_cast<void>(errorText(false, &number, errorOfSystem));
    const DWORD after = GetLastError();
    ASSERT_EQ(message.calls().size(), 1U);
    EXPECT_NE(gFreed, nullptr);
    EXPECT_EQ(gFreed, message.calls()[0].allocated);
    EXPECT_EQ(after, 7U);
    call.original()(const_cast<void*>(gFreed));
}

TEST(ErrorTextTest, AStreamGetsTheTextWithoutTheCode) {
    const SystemMessage none(L"");
    std::ostringstream out;
    out << ErrorState{5, 10054} << ", " << ErrorState{0, 10054} << ", " << ErrorNumber{0xffffffff}
        << ", " << ErrorNumber{0};
    EXPECT_EQ(out.str(), "Error 5, Error 10054, Error 0xffffffff, Error 0");
}

}  // namespace
