#include "util/windows/sockets-win.h"

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"

namespace {

using namespace testing_support;

// The sockets of a process start only once, so each test is a death test: its statement runs in its
// own process, and reports on standard error what it saw.

int gStarts = 0;
int gResult = 0;
WORD gVersion = 0;

int WINAPI start(WORD version, LPWSADATA) {
    ++gStarts;
    gVersion = version;
    return gResult;
}

void startAndReport() {
    try {
        startSockets();
        std::cerr << "started;";
    } catch (const std::runtime_error& error) {
        std::cerr << error.what() << ";";
    }
}

void startTwice() {
    const ReplacedCall<decltype(WSAStartup)> call("WSAStartup", start);
    startAndReport();
    startAndReport();
    std::cerr << gStarts << " starts of version " << gVersion;
    std::exit(0);
}

void failWithoutMessage() {
    const ReplacedCall<decltype(WSAStartup)> call("WSAStartup", start);
    const SystemMessage none(L"");
    gResult = WSASYSNOTREADY;
    startAndReport();
    std::exit(0);
}

void failWithALongMessage() {
    const ReplacedCall<decltype(WSAStartup)> call("WSAStartup", start);
    const SystemMessage message(L"The network is down, " + std::wstring(100, L'x'));
    gResult = WSASYSNOTREADY;
    startAndReport();
    std::exit(0);
}

void failOnceAndStart() {
    const ReplacedCall<decltype(WSAStartup)> call("WSAStartup", start);
    gResult = WSAVERNOTSUPPORTED;
    startAndReport();
    gResult = 0;
    startAndReport();
    std::cerr << gStarts << " starts";
    std::exit(0);
}

void startReally() {
    startAndReport();
    const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    std::cerr << (socket != INVALID_SOCKET ? "a socket" : "no socket");
    std::exit(0);
}

TEST(StartSocketsTest, TheSocketsOfVersion22AreStartedOnceHoweverOftenItIsCalled) {
    EXPECT_EXIT(startTwice(), testing::ExitedWithCode(0),
                "started;started;1 starts of version 514");
}

TEST(StartSocketsTest, AFailureIsARuntimeErrorWithTheMessageAndTheCode) {
    EXPECT_EXIT(failWithoutMessage(), testing::ExitedWithCode(0),
                "couldn't initialize socket system: Error 10091 \\(error code 10091\\);");
}

TEST(StartSocketsTest, TheMessageOfAFailureIsCutTo100Characters) {
    EXPECT_EXIT(
        failWithALongMessage(), testing::ExitedWithCode(0),
        "couldn't initialize socket system: The network is down, " + std::string(79, 'x') + ";");
}

TEST(StartSocketsTest, AfterAFailureTheNextCallTriesAgain) {
    EXPECT_EXIT(failOnceAndStart(), testing::ExitedWithCode(0),
                "couldn't initialize socket system: .*;started;2 starts");
}

TEST(StartSocketsTest, SocketsCanBeMadeAfterwards) {
    EXPECT_EXIT(startReally(), testing::ExitedWithCode(0), "started;a socket");
}

}  // namespace
