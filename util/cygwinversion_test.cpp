#include "util/cygwinversion.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace {

using cygwin::parse_release;
using cygwin::runtime_version;
using cygwin::version_text;

struct ReleaseRow {
    const char* text;
    uint16_t release, patch;
};

TEST(RuntimeVersionTest, ThreeNumbersAreReadAsScanfReadsThem) {
    const ReleaseRow rows[] = {
        {"1.7.35", 1007, 35},    {"1.7.35(0.287/5/3)", 1007, 35},
        {"1.5.25", 1005, 25},    {"3.4.6-1.x86_64", 3004, 6},
        {"0.0.0", 0, 0},         {" 1. 7.\t35", 1007, 35},
        {"+1.+7.+35", 1007, 35}, {"001.007.035", 1007, 35},
        {"1.7.-1", 1007, 65535}, {"65.535.65535", 65535, 65535},
        {"66.0.65536", 464, 0},  {"1.1000.1", 2000, 1},
    };
    for (const ReleaseRow& row : rows) {
        const std::optional<runtime_version> version = parse_release(row.text);
        ASSERT_TRUE(version.has_value()) << row.text;
        EXPECT_EQ(version->release, row.release) << row.text;
        EXPECT_EQ(version->patch, row.patch) << row.text;
    }
}

TEST(RuntimeVersionTest, FewerThanThreeNumbersAreNoRelease) {
    for (const char* const text : {"", "1", "1.", "1.7", "1.7.", "1.7.x", "1.7 .35", "1..35",
                                   "x1.7.35", "1,7,35", ".1.7.35", "1.7.- 1", "-.1.2"}) {
        EXPECT_FALSE(parse_release(text).has_value()) << text;
    }
}

TEST(RuntimeVersionTest, AVersionIsPrintedAsThreeNumbers) {
    EXPECT_EQ(version_text({1007, 35}), "1.7.35");
    EXPECT_EQ(version_text({0, 0}), "0.0.0");
    EXPECT_EQ(version_text({65535, 65535}), "65.535.65535");
}

}  // namespace
