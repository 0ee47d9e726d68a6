#pragma once

namespace testing_support {

/// Returns whether a child process has ended by abort(). `status` is its exit status, as
/// EXPECT_EXIT passes it.
bool hasAborted(int status);

}  // namespace testing_support
