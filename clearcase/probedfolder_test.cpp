#include "clearcase/probedfolder.h"

#include <gtest/gtest.h>

namespace {

TEST(ProbedFolderTest, TheTagFollowsTheRootAndTheTextIsTidiedOnce) {
    const struct {
        const char* root;
        const char* tag;
        const char* folder;
    } rows[] = {
        {"c:\\vobs", "\\a", "C:/vobs/a"},
        {"x:\\\\v", "\\\\a", "X:/v//a"},
        {"x:", "///a", "X://a"},
        {"\\\\srv\\sh", "\\a", "/srv/sh/a"},
        {"", "m:\\v", "M:/v"},
        {"c:\\v", "", "C:/v"},
        {"c:\\v", "a", "C:/va"},
        {"", "", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(probedFolder(row.root, row.tag), row.folder);
    }
}

}  // namespace
