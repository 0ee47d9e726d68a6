#include <windows.h>

#include "testing/calls/systemerror.h"

void testing_support::setSystemError(uint32_t error) { SetLastError(error); }
