#include "util/platform/errorstate-win.h"

#include <functional>
#include <ostream>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/socketerror-win.h"
#include "testing/calls/systemmessage-win.h"
#include "util/platform/errortext-win.h"

namespace {

using namespace testing_support;

/// Changes both error numbers at each write, as a stream to a file might.
class DisturbingStreambuf : public std::streambuf {
protected:
    std::streamsize xsputn(const char* /*text*/, std::streamsize count) override {
        WSASetLastError(WSAEBADF);
        SetLastError(ERROR_INVALID_HANDLE);
        return count;
    }
};
class DisturbingStream : public std::ostream {
public:
    DisturbingStream() : std::ostream(nullptr) { rdbuf(&mBuffer); }

private:
    DisturbingStreambuf mBuffer;
};

/// Every function that creates a text, by name.
struct TextFunction {
    const char* name;
    std::function<void()> call;
};
const uint32_t gFive = 5;
const TextFunction gTextFunctions[] = {
    {"Win32Exception of the last error", [] { const Win32Exception failure("C"); }},
    {"Win32Exception", [] { const Win32Exception failure("C", 5); }},
    {"NtException", [] { const NtException failure("C", 5); }},
    {"win32ErrorText", [] { static_cast<void>(win32ErrorText("C", 5)); }},
    {"ntErrorText", [] { static_cast<void>(ntErrorText("C", 5)); }},
    {"errorText of the value", [] { static_cast<void>(errorText(true, &gFive, errorOfSystem)); }},
    {"errorText of null", [] { static_cast<void>(errorText(false, nullptr, errorOfEither)); }},
    {"errorText of the socket error",
     [] { static_cast<void>(errorText(false, nullptr, errorOfSockets)); }},
    {"lastErrorText of the value",
     [] { static_cast<void>(lastErrorText(true, &gFive, errorOfSystem)); }},
    {"lastErrorText of null",
     [] { static_cast<void>(lastErrorText(false, nullptr, errorOfEither)); }},
    {"ErrorNumber into a stream", [] { DisturbingStream() << ErrorNumber{5}; }},
    {"ErrorState into a stream",
     [] {
         DisturbingStream() << ErrorState{0, 10054};
     }},
    {"ErrorState::select",
     [] {
         static_cast<void>(ErrorState{5, 10054}.select(errorOfEither));
     }},
};

TEST(ErrorStateTest, NoTextFunctionChangesTheErrorsOfTheCaller) {
    for (const wchar_t* words : {L"Denied.\r\n", L""}) {
        for (const TextFunction& function : gTextFunctions) {
            const SystemMessage message(words);
            SetLastError(4711);
            function.call();
            const DWORD lastError = GetLastError();
            const int socketError = WSAGetLastError();
            EXPECT_EQ(lastError, 4711U) << function.name;
            EXPECT_EQ(socketError, 4711) << function.name;
        }
    }
}

TEST(ErrorStateTest, RealSystemMessagesInANewThreadDoNotChangeTheErrors) {
    std::thread([] {
        for (const TextFunction& function : gTextFunctions) {
            WSASetLastError(10054);
            function.call();
            const int socketError = WSAGetLastError();
            const DWORD lastError = GetLastError();
            EXPECT_EQ(socketError, 10054) << function.name;
            EXPECT_EQ(lastError, 10054U) << function.name;
        }
    }).join();
}

TEST(ErrorStateTest, TheSocketErrorIsUntouchedWhereItIsAValueOfItsOwn) {
    for (const TextFunction& function : gTextFunctions) {
        const SocketError socketError(10054);
        SetLastError(4711);
        function.call();
        const DWORD lastError = GetLastError();
        EXPECT_EQ(socketError.value(), 10054) << function.name;
        EXPECT_EQ(lastError, 4711U) << function.name;
    }
}

std::vector<std::string> gRestored;

void WINAPI setSocketError(int error) { gRestored.push_back("socket " + std::to_string(error)); }

void WINAPI setLastError(DWORD error) { gRestored.push_back("Windows " + std::to_string(error)); }

TEST(ErrorStateTest, TheSocketErrorIsRestoredFirstAndTheWindowsErrorLast) {
    const ReplacedCall<decltype(WSASetLastError)> socketCall("WSASetLastError", setSocketError);
    const ReplacedCall<decltype(SetLastError)> call("SetLastError", setLastError);
    gRestored.clear();
    ErrorState{5, 10054}.restore();
    EXPECT_EQ(gRestored, (std::vector<std::string>{"socket 10054", "Windows 5"}));
}

TEST(ErrorStateTest, BothNumbersAreSaved) {
    const SocketError socketError(10054);
    SetLastError(5);
    const ErrorState made = ErrorState::current();
    ErrorState saved;
    saved.save();
    for (const ErrorState& state : {made, saved}) {
        EXPECT_EQ(state.mWindowsError, 5U);
        EXPECT_EQ(state.mSocketError, 10054U);
    }
}

int WINAPI getSocketErrorAndDisturb() {
    SetLastError(6);
    return 10054;
}

TEST(ErrorStateTest, TheWindowsErrorIsReadBeforeTheSocketErrorCanChangeIt) {
    const ReplacedCall<decltype(WSAGetLastError)> call("WSAGetLastError", getSocketErrorAndDisturb);
    SetLastError(5);
    EXPECT_EQ(ErrorState::current().mWindowsError, 5U);
}

TEST(ErrorStateTest, WhatWasSavedCanBeRestored) {
    SetLastError(4711);
    const ErrorState state = ErrorState::current();
    SetLastError(5);
    state.restore();
    const DWORD lastError = GetLastError();
    EXPECT_EQ(lastError, 4711U);
}

TEST(ErrorStateTest, TheChoicesHaveTheirNumbers) {
    EXPECT_EQ(errorOfEither, 0);
    EXPECT_EQ(errorOfSystem, 1);
    EXPECT_EQ(errorOfSockets, 2);
}

TEST(ErrorStateTest, OneOfTheTwoIsSelected) {
    const struct {
        ErrorState state;
        WhichError which;
        uint32_t number;
    } rows[] = {
        {{5, 10054}, errorOfEither, 5},
        {{0, 10054}, errorOfEither, 10054},
        {{5, 10054}, errorOfSystem, 5},
        {{0, 10054}, errorOfSystem, 0},
        {{5, 10054}, errorOfSockets, 10054},
        {{5, 0}, errorOfSockets, 0},
        {{5, 10054}, 3, 5},
        {{0, 10054}, 3, 10054},
        {{5, 10054}, -1, 5},
        {{0, 10054}, -1, 10054},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.state.select(row.which), row.number) << &row - rows;
    }
}

}  // namespace
