#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "testing/providers/entryatoffset.h"
#include "testing/providers/posixprovider-win.h"

namespace {

using namespace testing_support;

constexpr int failure = 4711;

struct Text {
    const char* data;
    size_t length;
};

class PosixPathsTest : public testing::Test {
protected:
    void* embedding() const { return mProvider.embedding(); }
    void* system() const { return static_cast<void**>(embedding()) + 1; }

    /// Returns the path in its other form, from the provider's own buffer; "(null)" if there is
    /// none.
    std::string convert(size_t offset, const char* path) const {
        char* buffer = nullptr;
        EXPECT_EQ(callAt(embedding(), offset, path, static_cast<void*>(nullptr), &buffer), 0);
        if (buffer == nullptr) {
            return "(null)";
        }
        std::string text = buffer;
        EXPECT_EQ(mProvider.count(POSIXPROVIDER_COUNT_BUFFERS), 1);
        callAt<void>(system(), 0, static_cast<void*>(buffer));
        return text;
    }

    static std::string textAt(void* object, size_t offset) {
        Text text = {nullptr, 0};
        EXPECT_EQ(callAt(object, offset, &text), 0);
        return std::string(text.data, text.length);
    }

    PosixProvider mProvider;
};

TEST_F(PosixPathsTest, TheMountTableIsAListOfObjects) {
    mProvider.setMounts("C:/pos\t/\tntfs\tbinary\tauto\nD:\t/d\tfat\n");
    void* mount = nullptr;
    EXPECT_EQ(callAt(system(), 560, &mount), 0);
    EXPECT_EQ(mProvider.leftovers(), (std::vector<std::string>{"mounts: 2"}));
    EXPECT_EQ(textAt(mount, 24), "C:/pos");
    EXPECT_EQ(textAt(mount, 32), "/");
    EXPECT_EQ(textAt(mount, 40), "ntfs");

    void* option = nullptr;
    EXPECT_EQ(callAt(mount, 48, &option), 0);
    EXPECT_EQ(callAt<void*>(option, 0), system());
    EXPECT_EQ(textAt(option, 24), "binary");
    void* errors = nullptr;
    EXPECT_EQ(callAt(option, 16, &option, &option, &errors), 0);
    EXPECT_EQ(textAt(option, 24), "auto");
    EXPECT_EQ(callAt(option, 16, &option, &option, &errors), 0);
    EXPECT_EQ(option, nullptr);

    EXPECT_EQ(callAt(mount, 16, &mount, &mount, &errors), 0);
    EXPECT_EQ(textAt(mount, 24), "D:");
    EXPECT_EQ(callAt(mount, 48, &option), 0);
    EXPECT_EQ(option, nullptr);
    EXPECT_EQ(callAt(mount, 16, &mount, &mount, &errors), 0);
    EXPECT_EQ(mount, nullptr);
}

TEST_F(PosixPathsTest, NextWithoutANextHolderEndsTheRest) {
    mProvider.setMounts("a\t/a\tx\nb\t/b\tx\nc\t/c\tx");
    void* mount = nullptr;
    EXPECT_EQ(callAt(system(), 560, &mount), 0);
    EXPECT_EQ(callAt(mount, 16, &mount, static_cast<void*>(nullptr), static_cast<void*>(nullptr)),
              0);
    EXPECT_EQ(mount, nullptr);
    EXPECT_EQ(mProvider.count(POSIXPROVIDER_COUNT_MOUNTS), 0);
}

TEST_F(PosixPathsTest, AFailingNextEndsTheRestUnlessItHandsItOver) {
    mProvider.setMounts("a\t/a\tx\nb\t/b\tx");
    for (const bool withResult : {false, true}) {
        mProvider.fail(POSIXPROVIDER_MOUNT_NEXT, 1, failure, withResult);
        void* mount = nullptr;
        EXPECT_EQ(callAt(system(), 560, &mount), 0);
        void* errors = nullptr;
        EXPECT_EQ(callAt(mount, 16, &mount, &mount, &errors), failure);
        EXPECT_EQ(mProvider.count(POSIXPROVIDER_COUNT_MOUNTS), withResult ? 1 : 0);
        EXPECT_EQ(mount != nullptr, withResult);
        EXPECT_EQ(callAt(errors, 24, &errors), 0);
        if (mount != nullptr) {
            EXPECT_EQ(callAt(mount, 16, &mount, &mount, &errors), 0);
        }
    }
}

TEST_F(PosixPathsTest, PathsAreConvertedByTheLongestMountThatCoversThem) {
    mProvider.setMounts(
        "C:/pos\t/\tntfs\n"
        "C:/pos/bin\t/usr/bin\tntfs\n"
        "D:\\\t/d/\tfat\n"
        "none\t/cygdrive\tcygdrive\n");
    constexpr size_t internalize = 64;
    constexpr size_t externalize = 72;
    constexpr size_t internalizeExecution = 80;
    constexpr size_t externalizeExecution = 88;
    const struct {
        size_t offset;
        const char* path;
        const char* converted;
    } rows[] = {
        {externalize, "/", "C:\\pos"},
        {externalize, "/a/b", "C:\\pos\\a\\b"},
        {externalize, "/usr/bin", "C:\\pos\\bin"},
        {externalize, "/usr/bin/ls", "C:\\pos\\bin\\ls"},
        {externalize, "/usr/bin2", "C:\\pos\\usr\\bin2"},
        {externalize, "/d", "D:\\"},
        {externalize, "/d/x", "D:\\x"},
        {externalize, "/cygdrive/x", "C:\\pos\\cygdrive\\x"},
        {externalize, "a/b", "(null)"},
        {internalize, "c:\\POS\\a/b", "/a/b"},
        {internalize, "C:/pos/bin\\ls", "/usr/bin/ls"},
        {internalize, "C:/pos", "/"},
        {internalize, "D:\\x", "/d/x"},
        {internalize, "D:/", "/d/"},
        {internalize, "E:\\x", "(null)"},
        {externalizeExecution, "/usr/bin/ls", "C:\\pos\\bin\\ls.exe"},
        {externalizeExecution, "/a.d/x.sh", "C:\\pos\\a.d\\x.sh"},
        {externalizeExecution, "a", "(null)"},
        {internalizeExecution, "C:\\pos\\bin\\ls.EXE", "/usr/bin/ls"},
        {internalizeExecution, "C:\\pos\\bin\\ls.com", "/usr/bin/ls.com"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(convert(row.offset, row.path), row.converted) << row.offset << ' ' << row.path;
    }
}

/// A test allocator: the size that it was asked for, and its buffer.
struct Allocator {
    const void* const* table;
    size_t size;
    char* buffer;
};

void* allocate(Allocator* allocator, size_t size) {
    allocator->size = size;
    return allocator->buffer;
}

const void* const allocatorTable[] = {nullptr, reinterpret_cast<const void*>(allocate)};

TEST_F(PosixPathsTest, ALinkIsReadIntoTheBufferOfTheAllocator) {
    EXPECT_EQ(callAt(system(), 464, "target", "/link"), 0);
    EXPECT_EQ(callAt(system(), 464, "other", "/link"), POSIXPROVIDER_EXISTS);
    EXPECT_EQ(mProvider.link("/link"), "target");

    char buffer[16] = "";
    Allocator allocator = {.table = allocatorTable, .size = 0, .buffer = buffer};
    char* result = nullptr;
    int64_t more = 0;
    EXPECT_EQ(callAt(system(), 472, "/link", &allocator, &result, &more), 0);
    EXPECT_EQ(result, buffer);
    EXPECT_STREQ(buffer, "target");
    EXPECT_EQ(allocator.size, sizeof "target");
    EXPECT_EQ(more, 6);

    EXPECT_EQ(callAt(system(), 472, "/none", &allocator, &result, &more),
              valueAt<int>(system(), 780));
    EXPECT_EQ(result, nullptr);
    allocator.buffer = nullptr;
    EXPECT_EQ(callAt(system(), 472, "/link", &allocator, &result, &more),
              POSIXPROVIDER_OUT_OF_MEMORY);
}

TEST_F(PosixPathsTest, ABufferThatIsFreedTwiceIsAFault) {
    mProvider.setMounts("C:\t/\tx");
    char* buffer = nullptr;
    EXPECT_EQ(callAt(embedding(), 72, "/a", static_cast<void*>(nullptr), &buffer), 0);
    callAt<void>(system(), 0, static_cast<void*>(buffer));
    EXPECT_EQ(mProvider.takeFaults(), std::vector<std::string>());
    callAt<void>(system(), 0, static_cast<void*>(buffer));
    EXPECT_EQ(mProvider.takeFaults().size(), 1U);
}

TEST_F(PosixPathsTest, ObjectsInStorageOfNoSizeKeepTheirDataElsewhere) {
    mProvider.setStorageSizes(0, 0);
    EXPECT_EQ(valueAt<uint64_t>(system(), 1080), 0U);
    alignas(16) std::byte storage[16] = {std::byte{7}};
    void* set = nullptr;
    EXPECT_EQ(callAt(system(), 248, static_cast<void*>(storage), &set), 0);
    EXPECT_EQ(mProvider.storage(POSIXPROVIDER_SYSTEM_SIGSET_INIT), storage);
    EXPECT_EQ(callAt(set, 56, 64), 0);
    EXPECT_EQ(callAt(set, 56, 65), valueAt<int>(system(), 716));
    EXPECT_EQ(storage[0], std::byte{7});
}

TEST_F(PosixPathsTest, StorageMustBeThereAndAligned) {
    alignas(16) std::byte storage[80];
    void* set = nullptr;
    EXPECT_EQ(callAt(system(), 248, static_cast<void*>(storage + 8), &set), 0);
    EXPECT_EQ(mProvider.takeFaults().size(), 1U);
    EXPECT_NE(callAt(system(), 256, static_cast<void*>(nullptr), &set), 0);
    EXPECT_EQ(mProvider.takeFaults().size(), 1U);
}

TEST_F(PosixPathsTest, AReferenceTooManyIsReportedAtTheEnd) {
    EXPECT_EQ(callAt(system(), 32), 0);
    EXPECT_NONFATAL_FAILURE(mProvider.expectClean(), "POSIX references");
}

TEST(PosixProviderEndTest, AMutexThatIsLeftIsReportedAtTheEnd) {
    PosixProvider provider;
    void* system = static_cast<void**>(provider.embedding()) + 1;
    void* mutex = nullptr;
    EXPECT_EQ(callAt(system, 360, &mutex), 0);
    EXPECT_NE(mutex, nullptr);
    testing::TestPartResultArray failures;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(&failures);
        provider.expectClean();
    }
    ASSERT_EQ(failures.size(), 2);
    EXPECT_NE(std::strstr(failures.GetTestPartResult(0).message(), "POSIX mutexes"), nullptr);
    EXPECT_NE(std::strstr(failures.GetTestPartResult(1).message(), "POSIX leftovers"), nullptr);
}

TEST(PosixProviderEndTest, TheReleaseTextIsWhatTheTestGave) {
    const PosixProvider provider("2.3.4");
    void* system = static_cast<void**>(provider.embedding()) + 1;
    void* result = nullptr;
    EXPECT_EQ(callAt(system, 80, &result), 0);
    EXPECT_STREQ(callAt<const char*>(result, 24), "2.3.4");
    EXPECT_EQ(callAt(result, 0, &result), 0);
    EXPECT_EQ(result, nullptr);
}

}  // namespace
