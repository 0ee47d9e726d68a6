#pragma once

/// Which of a thread's two error numbers is meant, the system's (of GetLastError) or that of the
/// sockets (of WSAGetLastError). Any other value means the same as errorOfEither.
using WhichError = int;
enum : WhichError {
    errorOfEither = 0,   ///< the system's number, or that of the sockets if the system's is 0
    errorOfSystem = 1,   ///< the number of GetLastError
    errorOfSockets = 2,  ///< the number of WSAGetLastError
};
