#pragma once

#include <winsock2.h>
#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// While the object exists, the socket error of the test program is a separate value. In Windows it
/// isn't: WSAGetLastError and GetLastError read the same place. At most one object at a time.
class [[nodiscard]] SocketError {
public:
    explicit SocketError(int error);

    /// Returns what WSAGetLastError returns now.
    int value() const;

private:
    ReplacedCall<decltype(WSAGetLastError)> mGet;
    ReplacedCall<decltype(WSASetLastError)> mSet;
};

}  // namespace testing_support
