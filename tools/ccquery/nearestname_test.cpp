#include "tools/ccquery/nearestname.h"

#include <utility>

#include <gtest/gtest.h>

namespace {

using ccquery::nearestName;

const std::vector<std::string> names = {"version", "directory_version", "null", "checked_out_dir",
                                        "checked_out_file"};

TEST(NearestNameTest, CaseBlanksAndDashesDoNotCount) {
    const std::pair<const char*, const char*> rows[] = {
        {"version", "version"},
        {"VERSION", "version"},
        {" Version\t", "version"},
        {"directory-version", "directory_version"},
        {"Directory Version", "directory_version"},
        {"checked-out file", "checked_out_file"},
    };
    for (const auto& [text, name] : rows) {
        EXPECT_EQ(nearestName(text, names), name) << text;
    }
}

TEST(NearestNameTest, UpToTwoLettersMayBeOff) {
    const std::pair<const char*, const char*> rows[] = {
        {"versio", "version"},
        {"ersion", "version"},
        {"versionsx", "version"},
        {"vorsion", "version"},
        {"verison", "version"},
        {"evrsino", "version"},
        {"directoryversion", "directory_version"},
        {"versi\xe2\x82\xacn", "version"},
        {"nul", "null"},
        {"nulll", "null"},
        {"unll", "null"},
        {"checked_out_fiel", "checked_out_file"},
    };
    for (const auto& [text, name] : rows) {
        EXPECT_EQ(nearestName(text, names), name) << text;
    }
    for (const char* text : {"", "vers", "versionabc", "vxrxixn", "x", "link", "versionversion"}) {
        EXPECT_EQ(nearestName(text, names), std::nullopt) << text;
    }
}

TEST(NearestNameTest, FewerThanHalfOfTheLettersMayBeOff) {
    EXPECT_EQ(nearestName("nu", names), std::nullopt);
    EXPECT_EQ(nearestName("nuxx", names), std::nullopt);
    EXPECT_EQ(nearestName("", {"a"}), std::nullopt);
}

TEST(NearestNameTest, TheNearestOfSeveralIsMeant) {
    EXPECT_EQ(nearestName("checked_out_di", names), "checked_out_dir");
    EXPECT_EQ(nearestName("abcx", {"abyy", "abcd", "abcy"}), "abcd");
}

TEST(NearestNameTest, ACommentAfterTheNameDoesNotCount) {
    EXPECT_EQ(nearestName("null ; a remark", names), "null");
    EXPECT_EQ(nearestName("Version#x", names), "version");
    EXPECT_EQ(nearestName("# the version", names), std::nullopt);
}

TEST(NearestNameTest, ALongTextIsNoName) {
    EXPECT_EQ(nearestName(std::string(1000000, 'v'), names), std::nullopt);
}

}  // namespace
