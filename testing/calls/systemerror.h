#pragma once

#include <cstdint>

namespace testing_support {

/// Sets this thread's error: that of GetLastError on Windows, natively errno.
void setSystemError(uint32_t error);

}  // namespace testing_support
