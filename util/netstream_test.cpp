#include "util/netstream.h"

#include <cstddef>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>

namespace {

/// Returns the literal's bytes, including NULs inside it.
template <size_t size>
std::string bytes(const char (&literal)[size]) {
    return {literal, size - 1};
}

TEST(NetStreamTest, ANumberIsWrittenWithItsHighByteFirst) {
    std::ostringstream stream;
    writeNet32(stream, 0x01020304);
    EXPECT_EQ(stream.str(), bytes("\1\2\3\4"));
    stream.str("");
    writeNet32(stream, 0xfffffffe);
    EXPECT_EQ(stream.str(), bytes("\xff\xff\xff\xfe"));
}

TEST(NetStreamTest, ALongNumberIsWrittenWithItsHighWordFirst) {
    std::ostringstream stream;
    writeNet64(stream, 0x0102030405060708);
    EXPECT_EQ(stream.str(), bytes("\1\2\3\4\5\6\7\10"));
}

TEST(NetStreamTest, ANumberIsReadWithItsHighByteFirst) {
    std::istringstream stream(bytes("\1\2\3\4\xff\0\0\0rest"));
    EXPECT_EQ(readNet32(stream), 0x01020304U);
    EXPECT_EQ(readNet32(stream), 0xff000000U);
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.tellg(), 8);
}

TEST(NetStreamTest, ALongNumberIsReadWithItsHighWordFirst) {
    std::istringstream stream(bytes("\xfe\2\3\4\5\6\7\10rest"));
    EXPECT_EQ(readNet64(stream), 0xfe02030405060708U);
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.tellg(), 8);
}

TEST(NetStreamTest, NumbersReadTheirLastByteWithoutTouchingTheEnd) {
    std::istringstream stream(bytes("\0\0\0\0\0\0\0\1\0\0\0\2"));
    EXPECT_EQ(readNet64(stream), 1U);
    EXPECT_EQ(readNet32(stream), 2U);
    EXPECT_TRUE(stream.good());
}

TEST(NetStreamTest, AShortReadIsLeftInTheStreamsState) {
    for (const char* content : {"", "a", "abc"}) {
        std::istringstream stream(content);
        static_cast<void>(readNet32(stream));
        EXPECT_TRUE(stream.eof() && stream.fail()) << content;
    }
    for (const char* content : {"", "abcd", "abcdefg"}) {
        std::istringstream stream(content);
        static_cast<void>(readNet64(stream));
        EXPECT_TRUE(stream.eof() && stream.fail()) << content;
    }
}

TEST(NetStreamTest, ABlobIsItsLengthAndItsBytes) {
    std::ostringstream stream;
    writeBlob32(stream, "a\0b", 3);
    EXPECT_EQ(stream.str(), bytes("\0\0\0\3a\0b"));
    stream.str("");
    writeBlob64(stream, "a\0b", 3);
    EXPECT_EQ(stream.str(), bytes("\0\0\0\0\0\0\0\3a\0b"));
}

TEST(NetStreamTest, ABlobOfNothingIsOnlyItsLength) {
    std::ostringstream stream;
    writeBlob32(stream, nullptr, 0);
    EXPECT_EQ(stream.str(), bytes("\0\0\0\0"));
    stream.str("");
    writeBlob64(stream, nullptr, 0);
    EXPECT_EQ(stream.str(), bytes("\0\0\0\0\0\0\0\0"));
    EXPECT_TRUE(stream.good());
}

TEST(NetStreamTest, ABlobOfNegativeLengthFailsAndWritesNothing) {
    std::ostringstream stream;
    writeBlob32(stream, "abc", -1);
    EXPECT_TRUE(stream.fail());
    EXPECT_EQ(stream.str(), "");
    stream.clear();
    writeBlob64(stream, "abc", std::numeric_limits<int64_t>::min());
    EXPECT_TRUE(stream.fail());
    EXPECT_EQ(stream.str(), "");
}

TEST(ReadStringTest, AWrittenBlobIsReadBack) {
    const std::string written = bytes("a\0\r\n\x1a\xffz");
    std::stringstream stream;
    writeBlob32(stream, written.data(), static_cast<int>(written.size()));
    writeBlob32(stream, "next", 4);
    std::string text = "a longer text that stood there before";
    readString(stream, text);
    EXPECT_EQ(text, written);
    readString(stream, text);
    EXPECT_EQ(text, "next");
    EXPECT_TRUE(stream.good());
}

TEST(ReadStringTest, ALengthOfZeroClearsTheText) {
    std::istringstream stream(bytes("\0\0\0\0rest"));
    std::string text = "before";
    readString(stream, text);
    EXPECT_EQ(text, "");
    EXPECT_TRUE(stream.good());
}

TEST(ReadStringTest, ALengthThatCannotBeReadLeavesTheTextAlone) {
    for (const char* content : {"", "\1", "\1\1\1"}) {
        std::istringstream stream(content);
        std::string text = "before";
        readString(stream, text);
        EXPECT_EQ(text, "before");
        EXPECT_TRUE(stream.fail());
    }
}

TEST(ReadStringTest, AStreamThatHasAlreadyFailedLeavesTheTextAlone) {
    std::istringstream stream(bytes("\0\0\0\1x"));
    stream.setstate(std::ios::failbit);
    std::string text = "before";
    readString(stream, text);
    EXPECT_EQ(text, "before");
}

TEST(ReadStringTest, BytesThatRunShortAreLeftInTheStreamsState) {
    std::istringstream stream(bytes("\0\0\0\5ab"));
    std::string text;
    readString(stream, text);
    EXPECT_TRUE(stream.eof() && stream.fail());
    EXPECT_EQ(text.size(), 5U);
    EXPECT_EQ(text.substr(0, 2), "ab");
}

}  // namespace
