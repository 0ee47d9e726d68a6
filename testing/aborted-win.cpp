#include "testing/aborted.h"

namespace testing_support {

// The exit code that the C runtime's abort() ends the process with.
bool hasAborted(int status) { return status == 3; }

}  // namespace testing_support
