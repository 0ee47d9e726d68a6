#pragma once

namespace testing_support {

/// For EXPECT_EXIT: returns whether a process ended because it touched an address that it must not
/// touch.
///
/// On Windows, this is the exit code 0xC0000005 (STATUS_ACCESS_VIOLATION). Natively, it is SIGSEGV,
/// or the exit code of a sanitizer that has caught and reported the access.
bool hasTouchedBadAddress(int status);

}  // namespace testing_support
