#include "util/windows/posix/vrpsxbuffers.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

char* allocate(vrpsx::string_buffer_allocator& buffers, size_t size) {
    return static_cast<char*>(buffers.table->allocate(&buffers, size));
}

TEST(StringBufferAllocatorTest, TheOtherSideWritesIntoTheString) {
    vrpsx::string_buffer_allocator buffers;
    EXPECT_FALSE(buffers.text.has_value());
    char* const room = allocate(buffers, 4);
    ASSERT_NE(room, nullptr);
    std::copy_n("abc", 4, room);
    EXPECT_EQ(buffers.text, "abc");
    EXPECT_EQ(buffers.text->data(), room);
    buffers.table->deallocate(&buffers, nullptr);
    EXPECT_FALSE(buffers.text.has_value());
    buffers.table->deallocate(&buffers, nullptr);
    EXPECT_FALSE(buffers.text.has_value());
}

TEST(StringBufferAllocatorTest, ASizeOfZeroOrOneGivesAnEmptyString) {
    for (const size_t size : {0U, 1U}) {
        vrpsx::string_buffer_allocator buffers;
        char* const room = allocate(buffers, size);
        ASSERT_NE(room, nullptr);
        EXPECT_EQ(*room, '\0');
        EXPECT_EQ(buffers.text, "");
    }
}

TEST(StringBufferAllocatorTest, ASecondBufferTakesThePlaceOfTheFirst) {
    vrpsx::string_buffer_allocator buffers;
    *allocate(buffers, 3) = 'a';
    EXPECT_EQ(buffers.text, std::string("a\0", 2));
    allocate(buffers, 2);
    EXPECT_EQ(buffers.text, std::string(1, '\0'));
}

TEST(StringBufferAllocatorTest, MoreThanThereIsGivesNull) {
    vrpsx::string_buffer_allocator buffers;
    EXPECT_EQ(allocate(buffers, std::numeric_limits<size_t>::max()), nullptr) << "no length";
    EXPECT_FALSE(buffers.text.has_value());
    *allocate(buffers, 3) = 'a';
    // No system has that much memory.
    EXPECT_EQ(allocate(buffers, std::numeric_limits<size_t>::max() / 4), nullptr);
    EXPECT_FALSE(buffers.text.has_value()) << "the one before is gone";
}

}  // namespace
