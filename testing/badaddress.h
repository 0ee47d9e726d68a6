#pragma once

namespace testing_support {

/// For EXPECT_EXIT: whether a process ended by touching an address that it must not touch.
///
/// On Windows that is the exit code 0xC0000005 (STATUS_ACCESS_VIOLATION). Natively it is SIGSEGV,
/// or the exit of a sanitizer that has caught and reported it.
bool diedOfABadAddress(int status);

}  // namespace testing_support
