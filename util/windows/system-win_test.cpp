#include "util/windows/system-win.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

TEST(SystemHeaderTest, EveryPartIsThere) {
    const TempFolder folder;
    const std::string tree = folder.utf8("a/b");
    std::string message;
    // Trees, files and paths.
    System::makePath(tree.c_str(), /*created=*/nullptr);
    EXPECT_TRUE(System::exists(tree));
    std::string longForm;
    EXPECT_TRUE(System::longPath(tree, longForm));
    EXPECT_TRUE(System::removeTree(folder.utf8("a"), message, /*keepRoot=*/false,
                                   /*closeSystemHandles=*/false, /*waitUntilGone=*/false))
        << message;
    // Volumes, the host, and programs.
    EXPECT_EQ(System::volumeType(folder.utf8(), /*account=*/nullptr), VolumeType::fixed);
    EXPECT_NE(System::programDirectory(), "");
    bool isThere = true;
    EXPECT_FALSE(System::IsFileExecutableByMe()(tree, &isThere));
    EXPECT_FALSE(isThere);
}

}  // namespace
