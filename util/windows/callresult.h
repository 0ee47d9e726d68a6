#pragma once

/// The results of operations that report success as POSIX calls do. An operation that returns a
/// count, a position or an id has callFailed for a failure as well.
using CallResult = int;
enum : CallResult {
    callSucceeded = 0,  ///< as POSIX calls have it
    callFailed = -1,    ///< the operation says where the error is
};
