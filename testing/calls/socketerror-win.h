#pragma once

#include <winsock2.h>
#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// As long as it lives, the socket error of the test program is a value of its own, as it isn't in
/// Windows, where WSAGetLastError and GetLastError read the same place. At most one at a time.
class SocketError {
public:
    explicit SocketError(int error);

    /// What WSAGetLastError gives now.
    int value() const;

private:
    ReplacedCall<decltype(WSAGetLastError)> mGet;
    ReplacedCall<decltype(WSASetLastError)> mSet;
};

}  // namespace testing_support
