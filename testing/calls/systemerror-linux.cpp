#include <cerrno>

#include "testing/calls/systemerror.h"

void testing_support::setSystemError(uint32_t error) { errno = static_cast<int>(error); }
