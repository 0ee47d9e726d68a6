#include "util/stringpool.h"

#include <cstddef>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(StringPoolTest, EqualTextsHaveOneAddress) {
    const std::string first = "a text";
    const std::string second("a text");
    const char* const pooled = internString(first.c_str());
    EXPECT_STREQ(pooled, "a text");
    EXPECT_EQ(internString(second.c_str()), pooled);
    EXPECT_EQ(internString(pooled), pooled);
}

TEST(StringPoolTest, APooledTextIsACopy) {
    std::string text = "to be changed";
    const char* const pooled = internString(text.c_str());
    text[0] = 'T';
    EXPECT_STREQ(pooled, "to be changed");
    EXPECT_NE(internString(text.c_str()), pooled);
}

TEST(StringPoolTest, TextsThatDifferInCaseOrLengthHaveDifferentAddresses) {
    const char* const pooled = internString("case");
    for (const char* const other : {"Case", "cas", "case ", ""}) {
        EXPECT_NE(internString(other), pooled) << other;
        EXPECT_STREQ(internString(other), other);
    }
}

TEST(StringPoolTest, TheEmptyTextIsThereFromTheStart) {
    StringPool pool;
    EXPECT_STREQ(pool.empty(), "");
    EXPECT_EQ(pool.intern(HashedText("")), pool.empty());
}

TEST(StringPoolTest, NullCountsAsTheEmptyText) {
    EXPECT_EQ(internString(nullptr), StringPool::instance().empty());
}

TEST(StringPoolTest, BytesAboveAsciiArePooledAsTheyAre) {
    const std::string text = "\x80\xFF\xE4\xB8\xAD";
    const char* const pooled = internString(text.c_str());
    EXPECT_EQ(pooled, text);
    EXPECT_EQ(internString(std::string(text).c_str()), pooled);
}

TEST(StringPoolTest, APoolOfItsOwnHasAddressesOfItsOwn) {
    StringPool pool;
    const char* const pooled = pool.intern(HashedText("both"));
    EXPECT_STREQ(pooled, "both");
    EXPECT_NE(pooled, internString("both"));
}

TEST(StringPoolTest, PooledTextsStayWhereTheyAreWhileTheTableGrows) {
    std::vector<const char*> pooled;
    pooled.reserve(10000);
    for (int i = 0; i < 10000; ++i) {
        pooled.push_back(internString(("growing " + std::to_string(i)).c_str()));
    }
    for (int i = 0; i < 10000; ++i) {
        const std::string text = "growing " + std::to_string(i);
        const char* const place = pooled[static_cast<size_t>(i)];
        ASSERT_EQ(place, text);
        ASSERT_EQ(internString(text.c_str()), place);
    }
}

TEST(StringPoolTest, ThreadsThatPoolTheSameTextsGetTheSameAddresses) {
    constexpr size_t threadCount = 8;
    constexpr size_t texts = 1000;
    StringPool pool;
    std::vector<std::vector<const char*>> pooled(threadCount, std::vector<const char*>(texts));
    {
        std::vector<std::jthread> threads;
        for (size_t thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&pool, &pooled, thread] {
                for (size_t i = 0; i < texts; ++i) {
                    const size_t number = (i + thread * (texts / threadCount)) % texts;
                    const std::string text = "shared " + std::to_string(number);
                    pooled[thread][number] = pool.intern(HashedText(text));
                }
            });
        }
    }
    for (size_t i = 0; i < texts; ++i) {
        ASSERT_EQ(pooled[0][i], "shared " + std::to_string(i));
        for (size_t thread = 1; thread < threadCount; ++thread) {
            ASSERT_EQ(pooled[thread][i], pooled[0][i]);
        }
    }
}

const char* gPooled = nullptr;

TEST(StringPoolDeathTest, PooledTextsAreThereWhenStaticObjectsAreDestroyed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto endProcess = [] {
        // Registered before the pool is made, so that it runs after anything the pool may have
        // registered.
        std::atexit([] { std::_Exit(internString("late") == gPooled ? 7 : 8); });
        gPooled = internString("late");
        std::exit(0);
    };
    EXPECT_EXIT(endProcess(), testing::ExitedWithCode(7), "");
}

}  // namespace
