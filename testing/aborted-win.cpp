#include "testing/aborted.h"

namespace testing_support {

bool hasAborted(int status) {
    // The exit code that the C runtime's abort() ends the process with.
    constexpr int abortCode = 3;
    return status == abortCode;
}

}  // namespace testing_support
