#include "testing/calls/socketerror-win.h"

namespace testing_support {
namespace {

int gSocketError = 0;

int WINAPI getSocketError() { return gSocketError; }

void WINAPI setSocketError(int error) { gSocketError = error; }

}  // namespace

SocketError::SocketError(int error)
    : mGet("WSAGetLastError", getSocketError), mSet("WSASetLastError", setSocketError) {
    gSocketError = error;
}

int SocketError::value() const { return gSocketError; }

}  // namespace testing_support
