// Tags in unusual spellings, and where they move paths to.

#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "clearcase/viewpaths.h"

namespace {

using Drives = std::map<std::string, std::string>;

std::string moved(const std::string& path, const std::string& tag, const Drives& tags,
                  const std::string& mvfsRoot = "M:") {
    RootCache cache;
    std::ostringstream errors;
    std::string result = canonicalizeViewPath({mvfsRoot, tags}, cache, "C:\\", path, {tag}, errors);
    EXPECT_EQ(errors.str(), "");
    return result;
}

TEST(ViewPathTagsTest, TheFolderOfAViewIsTidiedWhateverItsSpelling) {
    const Drives tags = {{"X:", "tag1"}};
    for (const char* tag : {"M:\\tag1\\vob", "m:\\tag1\\vob", "M:/tag1/vob", "M:\\tag1", "M:/tag1/",
                            "M:\\\\tag1\\vob", "M:/\\/tag1", "M:tag1\\vob", "m:tag1"}) {
        EXPECT_EQ(moved("X:\\vob\\a.c", tag, tags), "M:\\tag1\\vob\\a.c") << tag;
        EXPECT_EQ(moved("x:/vob", tag, tags), "M:\\tag1\\vob") << tag;
        EXPECT_EQ(moved("X:", tag, tags), "M:\\tag1") << tag;
    }
}

TEST(ViewPathTagsTest, AViewDriveIsARootWhateverFollowsIt) {
    const Drives tags = {{"X:", "tag1"}};
    for (const char* tag : {"X:\\vob", "x:/vob", "X:", "x:vob"}) {
        EXPECT_EQ(moved("M:\\tag1\\vob\\a.c", tag, tags), "X:\\vob\\a.c") << tag;
        EXPECT_EQ(moved("M:\\tag1", tag, tags), "X:\\") << tag;
    }
}

TEST(ViewPathTagsTest, AViewOfAnOddNameIsFoldedWithThePath) {
    EXPECT_EQ(moved("X:\\vob\\a.c", "M:\\.\\vob", {{"X:", "."}}), "M:\\vob\\a.c");
    EXPECT_EQ(moved("X:\\vob\\a.c", "M:\\..\\vob", {{"X:", ".."}}), "M:\\vob\\a.c");
    EXPECT_EQ(moved("X:\\vob\\a.c", "M:\\...\\vob", {{"X:", "..."}}), "M:\\...\\vob\\a.c");
    EXPECT_EQ(moved("X:\\vob\\a.c", "M:\\.x\\vob", {{"X:", ".x"}}), "M:\\.x\\vob\\a.c");
    EXPECT_EQ(moved("X:\\vob\\a.c", "M:\\a:\\vob", {{"X:", "a:"}}), "M:\\a:\\vob\\a.c");
}

TEST(ViewPathTagsTest, ATrailingColonGetsASeparatorAndANameLikeADriveIsADrive) {
    const Drives tags = {{"X:", "tag1"}};
    EXPECT_EQ(moved("X:\\vob\\a:", "M:\\tag1", tags), "M:\\tag1\\vob\\a:\\");
    EXPECT_EQ(moved("X:\\n:\\a.c", "M:\\tag1", tags), "n:\\a.c");
}

TEST(ViewPathTagsTest, ALongViewTagDiffersFromOneWithAnyOtherCharacter) {
    for (const size_t length : {1U, 3U, 4U, 5U, 6U, 7U, 8U, 12U, 13U, 20U, 40U}) {
        const std::string view(length, 'v');
        const Drives tags = {{"X:", view}};
        for (size_t place = 0; place < length; ++place) {
            std::string other = view;
            other[place] = 'w';
            RootCache cache;
            std::ostringstream errors;
            EXPECT_EQ(
                canonicalizeViewPath({"M:", tags}, cache, "C:\\", "X:\\vob\\a.c",
                                     {"M:\\" + other + "\\o", "M:\\" + view + "\\vob"}, errors),
                "M:\\" + view + "\\vob\\a.c")
                << other;
            const MutexLock lock(cache.lock);
            EXPECT_EQ(cache.routes.size(), 2U) << other;
        }
    }
}

}  // namespace
