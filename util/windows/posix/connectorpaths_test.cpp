// The connector's paths and mounts.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "util/windows/cygwinconnector.h"

namespace {

using cygwin::connector;
using cygwin::mount_map;
using namespace testing_support;

constexpr int failureCode = POSIXPROVIDER_NO_TEXT;

/// Returns the map as lines "root device type options", in its order.
std::vector<std::string> mountLines(const connector& c) {
    mount_map mounts;
    mounts["/left over"] = {"x", "y", "z"};
    c.get_mounts(mounts);
    std::vector<std::string> lines;
    lines.reserve(mounts.size());
    for (const auto& [root, info] : mounts) {
        lines.push_back(root + " " + info.device + " " + info.type + " " + info.options);
    }
    return lines;
}

TEST(ConnectorPathTest, PathsAreConvertedByTheOtherSide) {
    PosixProvider provider;
    provider.setMounts("C:/one\t/one\tntfs\n");
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.externalize_path("/one/a"), "C:\\one\\a");
    EXPECT_EQ(c.internalize_path("C:\\one\\a"), "/one/a");
    EXPECT_EQ(c.externalize_execution_path("/one/a"), "C:\\one\\a.exe");
    EXPECT_EQ(c.internalize_execution_path("C:\\one\\a.exe"), "/one/a");
}

TEST(ConnectorPathTest, APathThatTheOtherSideLeavesAloneComesBackAsItWas) {
    PosixProvider provider;
    provider.setMounts("C:/one\t/one\tntfs\n");
    {
        const connector c(embeddingOf(provider));
        const std::string path("/two\xFF\0x", 7);
        EXPECT_EQ(c.externalize_path(path), path);
        EXPECT_EQ(c.internalize_path(path), path);
        EXPECT_EQ(c.externalize_execution_path(path), path);
        EXPECT_EQ(c.internalize_execution_path(path), path);
        EXPECT_EQ(c.externalize_path(""), "");
    }
    provider.expectClean();
}

TEST(ConnectorPathTest, APathEndsAtItsNul) {
    PosixProvider provider;
    provider.setMounts("C:/one\t/one\tntfs\n");
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.externalize_path(std::string("/one/a\0b", 8)), "C:\\one\\a");
}

TEST(ConnectorPathTest, ALongPathIsConvertedWhole) {
    PosixProvider provider;
    provider.setMounts("C:/one\t/one\tntfs\n");
    const connector c(embeddingOf(provider));
    const std::string name(30'000, 'n');
    EXPECT_EQ(c.externalize_path("/one/" + name), "C:\\one\\" + name);
}

TEST(ConnectorPathTest, AFailedConversionIsThrown) {
    using Convert = std::string (connector::*)(const std::string&) const;
    const struct {
        posixprovider_entry entry;
        Convert convert;
        const char* text;
    } rows[] = {
        {POSIXPROVIDER_INTERNALIZE_PATH, &connector::internalize_path,
         "vrpsx::embedding::internalize_path: error 9999"},
        {POSIXPROVIDER_EXTERNALIZE_PATH, &connector::externalize_path,
         "vrpsx::embedding::externalize_path: error 9999"},
        {POSIXPROVIDER_INTERNALIZE_EXECUTION_PATH, &connector::internalize_execution_path,
         "vrpsx::embedding::internalize_execution_path: error 9999"},
        {POSIXPROVIDER_EXTERNALIZE_EXECUTION_PATH, &connector::externalize_execution_path,
         "vrpsx::embedding::externalize_execution_path: error 9999"},
        {POSIXPROVIDER_SYSTEM_READLINK, &connector::readlink,
         "vrpsx::system::readlink: error 9999"},
    };
    for (const auto& row : rows) {
        PosixProvider provider;
        provider.setMounts("C:/one\t/one\tntfs\n");
        {
            const connector c(embeddingOf(provider));
            c.symlink("target", "/one/a");
            provider.failNextWithResult(row.entry, failureCode);
            try {
                (c.*row.convert)("/one/a");
                ADD_FAILURE() << row.text;
            } catch (const vrpsx::system_exception_t& failure) {
                EXPECT_STREQ(failure.what(), row.text);
                EXPECT_EQ(failure.code, failureCode);
            }
        }
        provider.expectClean();
    }
}

TEST(ConnectorPathTest, ALinkIsMadeAndRead) {
    PosixProvider provider;
    {
        const connector c(embeddingOf(provider));
        c.symlink("../some/where", "/one/link");
        EXPECT_EQ(provider.link("/one/link"), "../some/where");
        EXPECT_EQ(c.readlink("/one/link"), "../some/where");
        EXPECT_THROW(static_cast<void>(c.readlink("/one/none")), vrpsx::system_exception_t);
        EXPECT_THROW(c.symlink("x", "/one/link"), vrpsx::system_exception_t) << "it is there";
    }
    provider.expectClean();
}

/// A runtime that reads a link without providing a text, which it must not do.
int readNothing(vrpsx::raw::system*, const char*, vrpsx::raw::allocator*, char**, int64_t*) {
    return 0;
}

TEST(ConnectorPathDeathTest, ALinkWithoutATextStopsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            testing_support::PatchedSystem patched(provider);
            patched.table.readlink = &readNothing;
            static_cast<void>(connector(embeddingOf(provider)).readlink("/link"));
        },
        "assertion failed at .*: buffers.text.has_value");
}

/// A runtime that returns its own text although it was given an allocator.
char gOwnText[] = "C:\\own";
int giveOwnText(vrpsx::raw::embedding*, const char*, vrpsx::raw::allocator*, char** result) {
    *result = gOwnText;
    return 0;
}

TEST(ConnectorPathDeathTest, APathOutsideTheAllocatorStopsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            vrpsx::raw::embedding* const raw = testing_support::rawEmbedding(provider);
            vrpsx::raw::embedding_table table = *raw->table;
            table.externalize_path = &giveOwnText;
            raw->table = &table;
            static_cast<void>(connector(embeddingOf(provider)).externalize_path("/own"));
        },
        "assertion failed at .*: buffers.text.has_value");
}

TEST(ConnectorPathTest, OtherPathsEndAtTheirNulToo) {
    PosixProvider provider;
    const connector c(embeddingOf(provider));
    c.symlink(std::string("to\0x", 4), std::string("/link\0x", 7));
    EXPECT_EQ(provider.link("/link"), "to");
    EXPECT_EQ(c.readlink(std::string("/link\0y", 7)), "to");
    c.chdir(std::string("/one\0x", 6));
    EXPECT_EQ(provider.directory(), "/one");
}

TEST(ConnectorPathTest, TheFolderIsChanged) {
    PosixProvider provider;
    const connector c(embeddingOf(provider));
    c.chdir("/one/folder");
    EXPECT_EQ(provider.directory(), "/one/folder");
    provider.failNext(POSIXPROVIDER_SYSTEM_CHDIR, failureCode);
    EXPECT_THROW(c.chdir("/two"), vrpsx::system_exception_t);
    provider.failNext(POSIXPROVIDER_SYSTEM_SYMLINK, failureCode);
    EXPECT_THROW(c.symlink("a", "/b"), vrpsx::system_exception_t);
}

TEST(ConnectorMountTest, LongerRootsComeFirst) {
    PosixProvider provider;
    provider.setMounts(
        "D:/\t/\tntfs\tbinary\n"
        "D:/b\t/bbb\tntfs\n"
        "D:/c\t/usr/lib\tntfs\tbinary\tnoacl\tposix=0\n"
        "D:/d\t/a\tntfs\n"
        "D:/e\t/aaa\tntfs\n");
    const connector c(embeddingOf(provider));
    EXPECT_EQ(mountLines(c), (std::vector<std::string>{
                                 "/usr/lib D:\\c ntfs binary,noacl,posix=0",
                                 "/aaa D:\\e ntfs ",
                                 "/bbb D:\\b ntfs ",
                                 "/a D:\\d ntfs ",
                                 "/ D:\\ ntfs binary",
                             }));
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MOUNTS), 0);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MOUNT_OPTIONS), 0);
}

TEST(ConnectorMountTest, TheMountsAreReadAnewEachTime) {
    PosixProvider provider;
    const connector c(embeddingOf(provider));
    EXPECT_TRUE(mountLines(c).empty());
    provider.setMounts("D:/\t/\tntfs\nE:/x\t/cygdrive\tcygdrive\n");
    EXPECT_EQ(mountLines(c), std::vector<std::string>{"/ D:\\ ntfs "});
    std::string prefix;
    c.cygdrive(prefix);
    provider.setMounts("E:/x\t/mnt\tcygdrive\n");
    EXPECT_TRUE(mountLines(c).empty());
    c.cygdrive(prefix);
    EXPECT_EQ(prefix, "/mnt");
}

TEST(ConnectorMountTest, ARestThatCannotBeDisposedOfIsThrownAfterThePrefix) {
    PosixProvider provider;
    provider.setMounts("E:/x\t/mnt\tcygdrive\nC:/\t/c\tntfs\n");
    {
        const connector c(embeddingOf(provider));
        provider.failNext(POSIXPROVIDER_MOUNT_NEXT, failureCode);
        std::string prefix;
        EXPECT_THROW(c.cygdrive(prefix), vrpsx::system_exception_t);
        EXPECT_EQ(prefix, "/mnt");
    }
    provider.expectClean();
}

TEST(ConnectorMountTest, OldRuntimesReportDevicesUnchanged) {
    const struct {
        const char* release;
        const char* device;
    } rows[] = {{"1.5.25", "//host/share/a"},
                {"1.6.999", "//host/share/a"},
                {"1.7.0", "\\\\host\\share\\a"},
                {"3.4.6", "\\\\host\\share\\a"}};
    for (const auto& row : rows) {
        PosixProvider provider(row.release);
        provider.setMounts("//host/share/a\t/mnt/a\tnetapp/x\n");
        const connector c(embeddingOf(provider));
        EXPECT_EQ(mountLines(c),
                  std::vector<std::string>{std::string("/mnt/a ") + row.device + " netapp/x "});
    }
}

TEST(ConnectorMountTest, OfTwoMountsOfARootTheLaterOneCountsWithAllOptions) {
    PosixProvider provider;
    provider.setMounts(
        "C:/first\t/one\tntfs\tbinary\tuser\n"
        "D:/second\t/one\tvfat\tnoacl\n"
        "E:/third\t/one\tsmbfs\n");
    const connector c(embeddingOf(provider));
    EXPECT_EQ(mountLines(c), std::vector<std::string>{"/one E:\\third smbfs binary,user,noacl"});
}

TEST(ConnectorMountTest, ThePrefixOfDrivesIsNoMount) {
    PosixProvider provider;
    provider.setMounts(
        "C:/one\t/one\tcygdrive2\n"
        "cygdrive prefix\t/cygdrive\tcygdrive\tbinary\n"
        "D:/two\t/two\tntfs\n");
    const connector c(embeddingOf(provider));
    EXPECT_EQ(mountLines(c),
              (std::vector<std::string>{"/one C:\\one cygdrive2 ", "/two D:\\two ntfs "}));
    std::string prefix = "before";
    c.cygdrive(prefix);
    EXPECT_EQ(prefix, "/cygdrive");
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MOUNTS), 0) << "the rest of the list is gone";
}

TEST(ConnectorMountTest, WithoutMountsThereIsNothing) {
    for (const char* const text : {"", "C:/one\t/one\tcygdriv\n"}) {
        PosixProvider provider;
        provider.setMounts(text);
        const connector c(embeddingOf(provider));
        EXPECT_EQ(mountLines(c).empty(), *text == '\0');
        std::string prefix = "before";
        try {
            c.cygdrive(prefix);
            ADD_FAILURE();
        } catch (const vrpsx::system_exception_t& failure) {
            EXPECT_EQ(failure.what(),
                      "cygdrive missing: " + c.error_text(POSIXPROVIDER_MISSING_ENTRY));
            EXPECT_EQ(failure.code, POSIXPROVIDER_MISSING_ENTRY);
        }
        EXPECT_EQ(prefix, "before");
    }
}

TEST(ConnectorMountTest, WhatFailsOnTheWayIsThrownAndNothingIsLeft) {
    const struct {
        posixprovider_entry entry;
        bool isOfCygdrive;
        const char* text;
    } rows[] = {
        {POSIXPROVIDER_SYSTEM_GET_MOUNTS, true, "vrpsx::system::get_mounts: error 9999"},
        {POSIXPROVIDER_MOUNT_TYPE, true, "vrpsx::mount::type: error 9999"},
        {POSIXPROVIDER_MOUNT_DEVICE, false, "vrpsx::mount::device: error 9999"},
        {POSIXPROVIDER_MOUNT_ROOT, true, "vrpsx::mount::root: error 9999"},
        {POSIXPROVIDER_MOUNT_OPTIONS, false, "vrpsx::mount::options: error 9999"},
        {POSIXPROVIDER_MOUNT_NEXT, true, "vrpsx::mount::next: error 9999"},
        {POSIXPROVIDER_MOUNT_OPTION_TEXT, false, "vrpsx::mount_option::text: error 9999"},
        {POSIXPROVIDER_MOUNT_OPTION_NEXT, false, "vrpsx::mount_option::next: error 9999"},
    };
    for (const auto& row : rows) {
        for (const bool withResult : {false, true}) {
            PosixProvider provider;
            provider.setMounts("C:/one\t/one\tntfs\ta\tb\nc\t/c\tcygdrive\td\n");
            {
                const connector c(embeddingOf(provider));
                const auto thrownBy = [&](auto call) -> std::string {
                    provider.fail(row.entry, 1, failureCode, withResult);
                    try {
                        call();
                    } catch (const vrpsx::system_exception_t& failure) {
                        return failure.what();
                    }
                    return "nothing";
                };
                mount_map mounts;
                EXPECT_EQ(thrownBy([&] { c.get_mounts(mounts); }), row.text);
                if (row.isOfCygdrive) {
                    std::string prefix;
                    EXPECT_EQ(thrownBy([&] { c.cygdrive(prefix); }), row.text);
                }
            }
            provider.expectClean();
        }
    }
}

}  // namespace
