#include <windows.h>

#include "testing/systemerror.h"

void testing_support::setSystemError(uint32_t error) { SetLastError(error); }
