#pragma once

#include <cstdint>

namespace testing_support {

/// Sets this thread's error: the last error on Windows (see GetLastError), errno natively.
void setSystemError(uint32_t error);

}  // namespace testing_support
