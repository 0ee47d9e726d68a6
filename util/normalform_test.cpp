#include "util/normalform.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"
#include "testing/scopes/cygwinscope.h"
#include "util/pathfun.h"

namespace {

using namespace testing_support;

/// Applies the rule name by name, for a path whose root is in its normal spelling.
std::string foldedBelow(const std::string& root, const std::string& tail) {
    std::vector<std::string> names;
    for (size_t at = 0; at < tail.size();) {
        const size_t begin = std::min(tail.find_first_not_of("/\\", at), tail.size());
        const size_t end = std::min(tail.find_first_of("/\\", begin), tail.size());
        const std::string name = tail.substr(begin, end - begin);
        at = end;
        if (name == "..") {
            if (!names.empty()) {
                names.pop_back();
            }
        } else if (!name.empty() && name != ".") {
            names.push_back(name);
        }
    }
    std::string result = root;
    for (const std::string& name : names) {
        result.append("/").append(name);
    }
    return result.back() == ':' ? result + '/' : result;
}

void expectForms(const std::string& path, const std::string& normal) {
    ASSERT_EQ(normalForm(path), normal) << path;
    PathBuffer buffer;
    ASSERT_EQ(normalFormIn(buffer, path, '/'), normal) << path;
    std::string turned = normal;
    toBackslashes(turned);
    ASSERT_EQ(normalFormIn(buffer, path, '\\'), turned) << path;

    std::string turnedPath = path;
    toBackslashes(turnedPath);
    const bool endsInName = !isPathSeparator(path.back());
    ASSERT_EQ(isTidyOnDrive(path), path[1] == ':' && endsInName && turnedPath == turned) << path;
}

const std::vector<std::string> roots = {"C:", "//srv/sh"};

TEST(NormalFormTest, WhatIsToBeFoldedIsSeenAtEveryPlaceOfALongPath) {
    const std::vector<std::string> middles = {
        "/",        "//",   "/./",    "/../", "\\..\\x\\", "/.",   "/..",   "/...", "/.git",
        "/.git/..", "/..x", "/./../", "\\",   "/x.",       "/x..", "/..//", "/.:"};
    for (const std::string& root : roots) {
        for (const std::string& middle : middles) {
            for (size_t before = 0; before < 140; ++before) {
                std::string tail = "/first\\second/" + std::string(before, 'n') + middle;
                expectForms(root + tail, foldedBelow(root, tail));
                tail += "end/of it";
                expectForms(root + tail, foldedBelow(root, tail));
                tail.append(90, 'm');
                expectForms(root + tail, foldedBelow(root, tail));
            }
        }
    }
}

TEST(NormalFormTest, RandomPathsOfManyNamesAreFoldedByTheRule) {
    const std::vector<std::string> pieces = {
        "/", "\\", ".", "..", "a", ":", "/.", "/..", "name", "a longer name", ".x", "\xC3\xA9"};
    // A failure must be reproducible.
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
    for (int i = 0; i < 20000; ++i) {
        const std::string& root = roots[random() % roots.size()];
        // A share ends at a separator.
        std::string tail = root == "C:" ? "" : "/";
        for (size_t count = random() % 40; count > 0; --count) {
            tail += pieces[random() % pieces.size()];
        }
        expectForms(root + tail, foldedBelow(root, tail));
    }
}

TEST(NormalFormTest, AShareIsSpelledNormallyWhateverSeparatorsItHas) {
    expectForms("\\\\srv\\sh", "//srv/sh");
    expectForms("\\\\\\srv//\\sh\\a", "//srv/sh/a");
    expectForms("/\\srv\\sh\\.\\a", "//srv/sh/a");
    // Server and share aren't names, so dots in them don't fold.
    expectForms("\\\\.\\..\\a", "//./../a");
}

TEST(NormalFormTest, TheFolderOfCygwinDrivesStaysWithTheSeparatorsOfItsPrefix) {
    const CygwinScope cygwin("/odd\\");
    expectForms("/odd\\c/a", "/odd\\c/a");
    expectForms("/odd\\c/a/../b", "/odd\\c/b");
}

TEST(NormalFormTest, OnlyATidyPathOnADriveIsTidy) {
    for (const char* path : {"C:\\a", "c:/a\\b", "1:/.a", "C:/a:b", "C:/..."}) {
        EXPECT_TRUE(isTidyOnDrive(path)) << path;
    }
    for (const char* path : {"", "C", "C:", "C:/", "C:a", "C:/a/", "C:/a:", "C:/a:/", "C:/.",
                             "C:/a/..", "/a", "a/b", "//srv/sh/a", "/:/a"}) {
        EXPECT_FALSE(isTidyOnDrive(path)) << path;
    }
}

TEST(NormalFormTest, NoTextOfUsualLengthIsAllocatedInABuffer) {
    const std::string path = "C:\\a long name\\and another\\..\\and one more that is folded\\";
    const size_t before = testing_support::allocationCount();
    PathBuffer buffer;
    const std::string_view form = normalFormIn(buffer, path, '\\');
    EXPECT_EQ(testing_support::allocationCount(), before);
    EXPECT_EQ(form, "C:\\a long name\\and one more that is folded");
}

TEST(NormalFormTest, ABufferServesForPathAfterPathOfAnyLength) {
    PathBuffer buffer;
    for (const size_t length : {10U, 600U, 5U, 511U, 512U, 10000U}) {
        const std::string path = "C:/" + std::string(length, 'a');
        EXPECT_EQ(normalFormIn(buffer, path + "/..//b/", '/'), "C:/b");
        EXPECT_EQ(normalFormIn(buffer, path, '/'), path);
    }
}

TEST(NormalFormTest, APathThatGrowsAtBothItsEndsHasRoomAtAnyLength) {
    for (size_t length = 500; length < 530; ++length) {
        const std::string name(length, 'n');
        expectForms("C:" + name + ":", "C:/" + name + ":/");
    }
}

TEST(NormalFormDeathTest, ARelativePathStopsTheProcess) {
    PathBuffer buffer;
    for (const char* path : {"", "a", "\\x\\y", "//srv"}) {
        EXPECT_DEATH(static_cast<void>(normalFormIn(buffer, path, '/')),
                     "assertion failed at util/pathfun\\.cpp.*: absolute");
    }
}

}  // namespace
