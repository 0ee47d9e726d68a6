#include <windows.h>

#include "testing/badaddress.h"

namespace testing_support {

bool hasTouchedBadAddress(int status) {
    return static_cast<DWORD>(status) == EXCEPTION_ACCESS_VIOLATION;
}

}  // namespace testing_support
