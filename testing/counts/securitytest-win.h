#pragma once

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"

namespace testing_support {

/// Tests of what owns SIDs, access lists, descriptors and tokens: they leave nothing in memory.
class SecurityTest : public OwnershipTest {
protected:
    /// What the system and the runtime keep from the first failure on isn't counted.
    SecurityTest() {
        expectFailedCall("", ERROR_ACCESS_DENIED,
                         [] { throw Win32Exception("", ERROR_ACCESS_DENIED); });
    }

    /// The reason of a test that is skipped is kept.
    void TearDown() override {
        if (!IsSkipped()) {
            OwnershipTest::TearDown();
        }
    }
};

}  // namespace testing_support
