#include <cerrno>

#include "testing/systemerror.h"

void testing_support::setSystemError(uint32_t error) { errno = static_cast<int>(error); }
