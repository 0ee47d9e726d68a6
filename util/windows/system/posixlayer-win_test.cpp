#include "util/windows/system/posixlayer-win.h"

#include <cerrno>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include "testing/badaddress.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/socketerror-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/scopes/environmentscope.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/sockets-win.h"

namespace {

using namespace testing_support;
using posixlayer::closeOnExec;
using posixlayer::setDescriptorFlags;

TEST(PosixProcessTest, TheProcessIdIsTheOneOfWindows) {
    EXPECT_EQ(posixlayer::getpid(), static_cast<int>(GetCurrentProcessId()));
}

ScopedHandle inheritableEvent() {
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, TRUE};
    return ScopedHandle(CreateEventW(&attributes, FALSE, FALSE, nullptr));
}

bool isInherited(HANDLE handle) {
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(handle, &flags));
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}

TEST(PosixFcntlTest, TheCommandAndItsArgumentHaveTheirNumbers) {
    EXPECT_EQ(setDescriptorFlags, 2);
    EXPECT_EQ(closeOnExec, 1);
}

TEST(PosixFcntlTest, SettingCloseOnExecKeepsAHandleFromChildProcesses) {
    const ScopedHandle event = inheritableEvent();
    ASSERT_TRUE(isInherited(event.get()));
    EXPECT_EQ(posixlayer::fcntl(event.get(), setDescriptorFlags, closeOnExec), callSucceeded);
    EXPECT_FALSE(isInherited(event.get()));
    EXPECT_EQ(posixlayer::fcntl(event.get(), setDescriptorFlags, closeOnExec), callSucceeded)
        << "it may be so already";
}

TEST(PosixFcntlTest, AHandleThatIsNoneIsAFailure) {
    EXPECT_EQ(posixlayer::fcntl(nullptr, setDescriptorFlags, closeOnExec), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(PosixFcntlTest, AnythingElseIsAnExceptionThatNamesTheCommand) {
    constexpr struct {
        int command, argument;
        const char* text;
    } failingCalls[] = {
        {2, 0, "fcntl received unknown command 2"},   {2, 2, "fcntl received unknown command 2"},
        {2, -1, "fcntl received unknown command 2"},  {0, 1, "fcntl received unknown command 0"},
        {1, 1, "fcntl received unknown command 1"},   {3, 1, "fcntl received unknown command 3"},
        {-7, 1, "fcntl received unknown command -7"},
    };
    const ScopedHandle event = inheritableEvent();
    for (const auto& [command, argument, text] : failingCalls) {
        try {
            static_cast<void>(posixlayer::fcntl(event.get(), command, argument));
            ADD_FAILURE() << text;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), text);
        }
    }
    EXPECT_TRUE(isInherited(event.get()));
}

/// A datagram socket with its own address, to which nothing is sent.
class IdleSocket {
public:
    IdleSocket() {
        startSockets();
        mSocket = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        const DWORD patience = 10;  // ms, if it waits
        EXPECT_EQ(setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO,
                             reinterpret_cast<const char*>(&patience), sizeof patience),
                  0);
    }
    ~IdleSocket() { closesocket(mSocket); }
    IdleSocket(const IdleSocket&) = delete;
    IdleSocket& operator=(const IdleSocket&) = delete;

    SOCKET get() const { return mSocket; }
    /// Returns the error of an attempt to receive something.
    int receive() const {
        char byte = 0;
        EXPECT_EQ(recv(mSocket, &byte, 1, 0), SOCKET_ERROR);
        return WSAGetLastError();
    }

private:
    SOCKET mSocket = INVALID_SOCKET;
};

TEST(PosixSocketTest, ASocketThatDoesNotBlockSaysThatItWould) {
    const IdleSocket socket;
    EXPECT_EQ(posixlayer::setNonBlocking(socket.get(), true), callSucceeded);
    EXPECT_EQ(socket.receive(), WSAEWOULDBLOCK);
    EXPECT_TRUE(posixlayer::wouldBlock());
}

TEST(PosixSocketTest, ASocketThatBlocksAgainWaits) {
    const IdleSocket socket;
    ASSERT_EQ(posixlayer::setNonBlocking(socket.get(), true), callSucceeded);
    EXPECT_EQ(posixlayer::setNonBlocking(socket.get(), false), callSucceeded);
    EXPECT_EQ(socket.receive(), WSAETIMEDOUT);
    EXPECT_FALSE(posixlayer::wouldBlock());
}

TEST(PosixSocketTest, ASocketThatIsNoneIsAFailure) {
    startSockets();
    for (const bool nonBlocking : {false, true}) {
        EXPECT_EQ(posixlayer::setNonBlocking(INVALID_SOCKET, nonBlocking), callFailed);
        EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
    }
}

TEST(PosixSocketTest, TwoErrorsOfSocketsAreThoseOfBlocking) {
    for (const int error : {WSAEWOULDBLOCK, WSAEINPROGRESS}) {
        const SocketError state(error);
        EXPECT_TRUE(posixlayer::wouldBlock()) << error;
    }
    for (const int error : {0, 11, 35, 10034, 10037, 10060, -10035}) {
        const SocketError state(error);
        SetLastError(WSAEWOULDBLOCK);
        EXPECT_FALSE(posixlayer::wouldBlock()) << error;
    }
}

DWORD gSlept = 0;
int gSleeps = 0;

TEST(PosixSleepTest, TheThreadSleepsOnceThatManyMillisecondsAndCannotBeAlerted) {
    const ReplacedCall<decltype(SleepEx)> call("SleepEx", [](DWORD time, BOOL alertable) -> DWORD {
        gSlept = time;
        ++gSleeps;
        EXPECT_FALSE(alertable);
        return 0;
    });
    for (const uint32_t time : {0U, 1U, 1234U, 0xffffffffU}) {
        gSleeps = 0;
        posixlayer::sleepMilliseconds(time);
        EXPECT_EQ(gSlept, time);
        EXPECT_EQ(gSleeps, 1);
    }
}

/// Runs the sample program, which is found by PATH, since its own path may contain spaces.
intptr_t spawnSample(const char* what, const char* argument, bool wait) {
    const EnvironmentScope path("PATH", testProgramFolder().string());
    const char* const words[] = {"sampleprogram.exe", what, argument, nullptr};
    return posixlayer::spawnWords(words, wait);
}

TEST(PosixSpawnTest, AProgramInThePathThatIsWaitedForGivesItsExitCode) {
    EXPECT_EQ(spawnSample("exit", "3", true), 3);
}

TEST(PosixSpawnTest, AProgramThatIsNotWaitedForGivesItsProcess) {
    const intptr_t result = spawnSample("exit", "3", false);
    ASSERT_NE(result, callFailed);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the layer's results are numbers
    const ScopedHandle process(reinterpret_cast<HANDLE>(result));
    EXPECT_EQ(WaitForSingleObject(process.get(), INFINITE), WAIT_OBJECT_0);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(process.get(), &code));
    EXPECT_EQ(code, 3U);
}

TEST(PosixSpawnTest, AWordWithABlankArrivesAsTwo) {
    EXPECT_EQ(spawnSample("exit 7", nullptr, true), 7);
}

TEST(PosixSpawnTest, AMissingProgramIsAFailure) {
    const char* const words[] = {"c:\\missing\\x.exe", nullptr};
    for (const bool wait : {false, true}) {
        errno = 0;
        EXPECT_EQ(posixlayer::spawnWords(words, wait), callFailed);
        EXPECT_EQ(errno, ENOENT);
    }
}

TEST(PosixMeaninglessDeathTest, ACallWithoutMeaningStopsTheProcessWithAnAssertion) {
    EXPECT_EXIT(posixlayer::meaninglessCall(), testing_support::hasTouchedBadAddress,
                "assertion failed at util/windows/system/posixlayer-win\\.cpp\\(\\d+\\): 0\r?\n");
}

TEST(PosixLastErrorTest, ClearingClearsBothNumbers) {
    const SocketError socketError(10035);
    SetLastError(5);
    posixlayer::clearLastError();
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_EQ(socketError.value(), 0);
}

TEST(PosixLastErrorTest, TheChoiceSaysWhichNumberItIs) {
    constexpr struct {
        DWORD windowsError;
        int socketError;
        WhichError which;
        uint32_t error;
    } socketCases[] = {
        {5, 10035, errorOfSystem, 5},
        {5, 10035, errorOfSockets, 10035},
        {5, 10035, errorOfEither, 5},
        {5, 10035, 3, 5},
        {5, 10035, -1, 5},
        {0, 10035, errorOfEither, 10035},
        {0, 10035, 3, 10035},
        {0, 10035, -1, 10035},
        {0, 10035, errorOfSystem, 0},
        {0x80070005, 0, errorOfSockets, 0},
        {5, 0, errorOfEither, 5},
        {0, 0, errorOfEither, 0},
        {5, 0, errorOfSockets, 0},
        {0x80070005, 0, errorOfSystem, 0x80070005},
    };
    for (const auto& row : socketCases) {
        const SocketError socketError(row.socketError);
        SetLastError(row.windowsError);
        EXPECT_EQ(posixlayer::lastError(row.which), row.error)
            << row.windowsError << " " << row.socketError << " " << row.which;
    }
}

TEST(PosixLastErrorTest, BothNumbersAreSavedAndPutBack) {
    const SocketError socketError(10035);
    ErrorState state;
    SetLastError(5);
    posixlayer::saveLastError(state);
    EXPECT_EQ(state.mWindowsError, 5U);
    EXPECT_EQ(state.mSocketError, 10035U);
    posixlayer::clearLastError();
    posixlayer::restoreLastError(state);
    EXPECT_EQ(GetLastError(), 5U);
    EXPECT_EQ(socketError.value(), 10035);
}

TEST(PosixLastErrorTest, WhereTheTwoShareAPlaceTheNumberOfWindowsStays) {
    ErrorState state;
    state.mWindowsError = 5;
    state.mSocketError = 10035;
    posixlayer::restoreLastError(state);
    EXPECT_EQ(GetLastError(), 5U);
}

}  // namespace
