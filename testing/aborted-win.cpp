#include "testing/aborted.h"

namespace testing_support {

// What the C runtime makes of abort().
bool hasAborted(int status) { return status == 3; }

}  // namespace testing_support
