#pragma once

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"

namespace testing_support {

/// For tests of classes that own SIDs, access lists, descriptors and tokens: checks that they leave
/// nothing in memory.
class SecurityTest : public OwnershipTest {
protected:
    /// Fails once, so that what the system and the runtime retain from the first failure on doesn't
    /// count.
    SecurityTest() {
        expectFailedCall("", ERROR_ACCESS_DENIED,
                         [] { throw Win32Exception("", ERROR_ACCESS_DENIED); });
    }

    /// Doesn't check a skipped test, because the reason for skipping stays in memory.
    void TearDown() override {
        if (!IsSkipped()) {
            OwnershipTest::TearDown();
        }
    }
};

}  // namespace testing_support
