// Appending to files whose size doesn't fit into 32 bits.

#include <fcntl.h>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/largefile-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/openfile-win.h"

namespace {

using namespace testing_support;

TEST(OpenFileAppendTest, AFileAbove4GigabytesIsAppendedToAtItsEnd) {
    const TempFolder folder;
    const std::string path = folder.utf8("log");
    if (!makeLargeFile(path)) {
        GTEST_SKIP() << "this system has no file above 4 GB";
    }
    {
        const NarrowFilePointer pointer;
        // NOLINTNEXTLINE(clang-analyzer-unix.API): not the C runtime's
        const ScopedHandle file(::open(path, _O_WRONLY | _O_APPEND, 0666, nullptr));
        DWORD count = 0;
        ASSERT_TRUE(WriteFile(file.get(), "more", 4, &count, nullptr));
    }
    std::string head(4, 'x');
    std::string tail(5, 'x');
    EXPECT_EQ(inspectLargeFile(path, head, tail), largeSize + 4);
    EXPECT_EQ(head, std::string(4, '\0')) << "its start stays";
    EXPECT_EQ(tail, std::string("\0more", 5));
}

}  // namespace
