#include "tools/shared/wholefile-win.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using tools::writeWholeFile;
using namespace testing_support;

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

size_t fileCount(const TempFolder& folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder.path()),
                                             std::filesystem::directory_iterator()));
}

std::string problemOf(const std::string& file, bool replace) {
    try {
        writeWholeFile(file, "new", replace);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(none)";
}

TEST(WholeFileTest, TheFileHasTheTextAndIsAlone) {
    const TempFolder folder;
    const std::string text("a\r\n\0b\n", 6);
    writeWholeFile(folder.utf8("gr\xc3\xb6\xc3\x9f"
                               "e"),
                   text, /*replace=*/false);
    EXPECT_EQ(contentOf(folder.path() / u8"gr\u00f6\u00dfe"), text);
    EXPECT_EQ(fileCount(folder), 1U);
}

TEST(WholeFileTest, AFileThatIsThereIsReplacedOnlyOnDemand) {
    const TempFolder folder;
    const std::string file = folder.write("a", "old");
    const std::string problem = problemOf(file, /*replace=*/false);
    EXPECT_TRUE(problem.starts_with("can't write '" + file + "': ")) << problem;
    EXPECT_TRUE(problem.ends_with("; name another file")) << problem;
    EXPECT_EQ(contentOf(folder.path() / "a"), "old");
    EXPECT_EQ(fileCount(folder), 1U);
    EXPECT_EQ(problemOf(file, /*replace=*/true), "(none)");
    EXPECT_EQ(contentOf(folder.path() / "a"), "new");
    EXPECT_EQ(fileCount(folder), 1U);
}

TEST(WholeFileTest, AFolderThatIsNotThereIsReported) {
    const TempFolder folder;
    const std::string file = folder.utf8("none/a");
    const std::string problem = problemOf(file, /*replace=*/true);
    EXPECT_TRUE(problem.starts_with("can't write '" + file + "': ")) << problem;
    EXPECT_EQ(fileCount(folder), 0U);
}

TEST(WholeFileTest, AFolderWithTheNameStays) {
    const TempFolder folder;
    create_directory(folder.path() / "a");
    EXPECT_NE(problemOf(folder.utf8("a"), /*replace=*/true), "(none)");
    EXPECT_EQ(fileCount(folder), 1U);
}

TEST(WholeFileTest, AFullDiskLeavesTheFileThatIsThere) {
    const TempFolder folder;
    const std::string file = folder.write("a", "old");
    const auto expectProblem = [&] {
        const std::string problem = problemOf(file, /*replace=*/true);
        EXPECT_TRUE(problem.starts_with("can't write '" + file + "': ")) << problem;
        EXPECT_EQ(contentOf(folder.path() / "a"), "old");
        EXPECT_EQ(fileCount(folder), 1U);
    };
    {
        const RefusedCall<decltype(WriteFile)> full("WriteFile", ERROR_DISK_FULL);
        expectProblem();
    }
    {
        // All is written. Windows removes it when the handle is closed, as that of a program that
        // is stopped.
        const RefusedCall<decltype(FlushFileBuffers)> full("FlushFileBuffers", ERROR_DISK_FULL);
        expectProblem();
    }
}

TEST(WholeFileTest, TheMessageEndsWithTheAdvice) {
    const TempFolder folder;
    const std::string file = folder.utf8("none/a");
    try {
        writeWholeFile(file, "new", /*replace=*/true, "go elsewhere");
        ADD_FAILURE() << "written";
    } catch (const std::runtime_error& error) {
        const std::string problem = error.what();
        EXPECT_TRUE(problem.ends_with("; go elsewhere")) << problem;
    }
}

TEST(WholeFileTest, AFileThatIsOpenForAMomentIsReplacedAfterIt) {
    const TempFolder folder;
    const std::string file = folder.write("a", "old");
    static int refused;
    refused = 0;
    const ReplacedCall<decltype(MoveFileExW)> moved(
        "MoveFileExW", [](LPCWSTR from, LPCWSTR to, DWORD flags) -> BOOL {
            if (++refused <= 2) {
                SetLastError(refused == 1 ? ERROR_SHARING_VIOLATION : ERROR_ACCESS_DENIED);
                return FALSE;
            }
            EXPECT_NE(flags & MOVEFILE_REPLACE_EXISTING, 0U);
            return DeleteFileW(to) && MoveFileW(from, to);
        });
    writeWholeFile(file, "new", /*replace=*/true);
    EXPECT_EQ(contentOf(folder.path() / "a"), "new");
    EXPECT_EQ(refused, 3);
}

}  // namespace
