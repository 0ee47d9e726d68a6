#include "tools/ccquery/journals/limitedmessages.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

using ccquery::LimitedMessages;

TEST(LimitedMessagesTest, TenOfAKindAreWrittenAndTheRestIsCounted) {
    std::vector<std::string> written;
    LimitedMessages messages([&](const std::string& message) { written.push_back(message); });
    EXPECT_TRUE(messages.isEmpty());
    for (int i = 0; i < 13; ++i) {
        messages.add("bad lines", std::to_string(i));
    }
    messages.add("worse lines", "worse");
    EXPECT_FALSE(messages.isEmpty());
    EXPECT_EQ(written.size(), 11U);
    EXPECT_EQ(written[9], "9");
    EXPECT_EQ(written[10], "worse");
    messages.finish();
    ASSERT_EQ(written.size(), 12U);
    EXPECT_EQ(written.back(), "and 3 more bad lines");
    messages.finish();
    EXPECT_EQ(written.size(), 12U);
}

}  // namespace
