#pragma once

#include <gtest/gtest.h>

#include "testing/providers/registeredprovider-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace testing_support {

/// Its child processes have a network provider without drives, and so the fake has nothing to
/// report when they load it.
class NoDrivesTest : public testing::Test {
protected:
    void SetUp() override {
        if (!mProvider.problem().empty()) {
            GTEST_SKIP() << mProvider.problem();
        }
    }

private:
    RegisteredProvider mProvider;
    TempFolder mDrivesFolder;
    EnvironmentScope mDrives{"NBCLEARCASE_DRIVES", mDrivesFolder.write("drives.txt", "")};
};

}  // namespace testing_support
