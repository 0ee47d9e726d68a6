#include "testing/describedmessage.h"

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
