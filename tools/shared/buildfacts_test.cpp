#include "tools/shared/buildfacts.h"

#include <gtest/gtest.h>

namespace {

using tools::BuildFacts;
using tools::versionJson;
using tools::versionText;

BuildFacts sampleFacts() {
    return {
        .version = "1.2.3", .commit = "0123abcd with changes", .compiler = "GCC 12-posix, msvcrt"};
}

TEST(BuildFactsTest, TheTextHasALineForEachFact) {
    EXPECT_EQ(versionText("ccdrives", sampleFacts()),
              "ccdrives 1.2.3\n"
              "commit 0123abcd with changes\n"
              "compiler GCC 12-posix, msvcrt\n");
}

TEST(BuildFactsTest, TheJsonIsOneLine) {
    EXPECT_EQ(versionJson(sampleFacts()), R"({"version":"1.2.3","commit":"0123abcd with changes",)"
                                          R"("compiler":"GCC 12-posix, msvcrt"})"
                                          "\n");
}

TEST(BuildFactsTest, ALineEndInAFactIsNoLineEndInTheText) {
    EXPECT_EQ(versionText("p", {.version = "1\n2", .commit = "", .compiler = "\x1b[31m"}),
              "p 1\\n2\ncommit \ncompiler \\x1b[31m\n");
}

}  // namespace
