#pragma once

namespace testing_support {

/// Whether a child process with this exit status, as EXPECT_EXIT hands it over, has ended by
/// abort().
bool hasAborted(int status);

}  // namespace testing_support
