#include "testing/describedmessage.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace testing_support;

TEST(DescribedMessageTest, OnlyWordsOfCapitalLettersAndDotsMeanAnything) {
    EXPECT_TRUE(isAsDescribed("a: x (1)\r\n", "a: ..."));
    EXPECT_TRUE(isAsDescribed("a (1) by NB_FILE\n", "a (LINE) by NB_FILE"));
    EXPECT_FALSE(isAsDescribed("a (1) by NB_OTHER\n", "a (LINE) by NB_FILE"));
    EXPECT_FALSE(isAsDescribed("b: x\n", "a: ..."));
    EXPECT_FALSE(isAsDescribed("a: x\ny\n", "a: ..."));
    EXPECT_FALSE(isAsDescribed("a: x", "a: ...")) << "the line end is missing";
    const std::string special = R"(.?*+()[]{}|^$\)";
    EXPECT_TRUE(isAsDescribed(special + "\n", special));
    for (const char c : special) {
        const std::string described = std::string("a") + c;
        EXPECT_TRUE(isAsDescribed(described + "\n", described));
        EXPECT_FALSE(isAsDescribed("ab\n", described)) << c;
        EXPECT_FALSE(isAsDescribed("aa\n", described)) << c;
        EXPECT_FALSE(isAsDescribed("a\n", described)) << c;
    }
}

TEST(DescribedMessageTest, TheFileOfAnOptionAtTheEndIsItself) {
    for (const char* const option : {"--library", "--config", "check"}) {
        const std::string begin = "no 'x'; name another by " + std::string(option);
        const std::string described = "no 'FILE'; name another by " + std::string(option) + " FILE";
        EXPECT_TRUE(isAsDescribed(begin + " FILE\n", described));
        EXPECT_FALSE(isAsDescribed(begin + " x\n", described)) << option;
    }
    EXPECT_TRUE(isAsDescribed("add --other x\n", "add --other FILE"));
}

}  // namespace
