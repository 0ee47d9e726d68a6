#include "util/numberedmessage.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

using NumberedMessageDeathTest = testing::Test;

std::string printed(const MessagePrefix& prefix) {
    std::ostringstream out;
    out << prefix;
    return out.str();
}

TEST(NumberedMessageTest, APrefixReportsKindAndNumber) {
    EXPECT_EQ(printed({true, 5001}), "ERROR NB5001: ");
    EXPECT_EQ(printed({false, 42}), "WARNING NB0042: ");
    EXPECT_EQ(printed({true, 123456}), "ERROR NB123456: ");
    EXPECT_EQ(printed({false, 1}), "WARNING NB0001: ");
    EXPECT_EQ(printed({false, -1}), "WARNING NB-001: ");
    EXPECT_EQ(printed({true, -2147483647 - 1}), "ERROR NB-2147483648: ");
}

TEST(NumberedMessageDeathTest, ANumberOfZeroStopsTheProcess) {
    std::ostringstream out;
    EXPECT_DEATH(out << (MessagePrefix{true, 0}), "assertion failed at .*: mp.mCode");
}

TEST(NumberedRuntimeErrorTest, TheTextIsAsGivenAndTheNumberBesideIt) {
    try {
        throw NumberedRuntimeError(5008, "The directory name is invalid");
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "The directory name is invalid");
        const auto* numbered = dynamic_cast<const NumberedRuntimeError*>(&e);
        ASSERT_NE(numbered, nullptr);
        EXPECT_EQ(numbered->code(), 5008);
    }
}

TEST(NumberedRuntimeErrorTest, ACopyHasTextAndNumber) {
    const NumberedRuntimeError original(5001, "text");
    NumberedRuntimeError copy = original;
    EXPECT_EQ(copy.code(), 5001);
    EXPECT_STREQ(copy.what(), "text");
    copy = NumberedRuntimeError(5002, "other");
    EXPECT_EQ(copy.code(), 5002);
    EXPECT_STREQ(copy.what(), "other");
}

}  // namespace
