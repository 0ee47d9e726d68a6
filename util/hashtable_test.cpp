#include "util/hashtable.h"

#include <iterator>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// Access to the chains.
struct HashTableTestPeer {
    template <class Value>
    static size_t buckets(const HashTable<Value>& table) {
        return table.mBuckets.size();
    }
    /// The keys of a chain, from front to back.
    template <class Value>
    static std::string chain(const HashTable<Value>& table, size_t bucket) {
        std::string keys;
        for (auto* entry = table.mBuckets[bucket]; entry != nullptr; entry = entry->next) {
            keys += entry->key.view();
        }
        return keys;
    }
    /// Whether each entry is in the chain whose number it has.
    template <class Value>
    static bool hasRightBuckets(const HashTable<Value>& table) {
        size_t count = 0;
        for (size_t bucket = 0; bucket < table.mBuckets.size(); ++bucket) {
            for (auto* entry = table.mBuckets[bucket]; entry != nullptr; entry = entry->next) {
                const bool isRight = entry->bucket == bucket && (HashedText::hash(entry->key) &
                                                                 (buckets(table) - 1)) == bucket;
                count += isRight ? 1 : 0;
            }
        }
        return count == table.size();
    }
};

namespace {

using Peer = HashTableTestPeer;

/// The texts don't move.
std::vector<std::string> numberedTexts(size_t count) {
    std::vector<std::string> texts;
    for (size_t i = 0; i < count; ++i) {
        texts.push_back("text " + std::to_string(i));
    }
    return texts;
}

TEST(HashedTextTest, EachByteIsAddedAsASignedValueToNineTimesTheHash) {
    struct Row {
        std::string text;
        long long hash;
    };
    const Row rows[] = {
        {"", 0},
        {"a", 97},
        {"ab", 97LL * 9 + 98},
        {"abc", (97LL * 9 + 98) * 9 + 99},
        {std::string(1, '\0'), 0},
        {std::string("a\0", 2), 97LL * 9},
        {"\xFF", -1},
        {"\x80\x7F", -128LL * 9 + 127},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(HashedText(row.text).hash(), static_cast<size_t>(row.hash)) << row.text;
        EXPECT_EQ(HashedText::hash(row.text), static_cast<size_t>(row.hash)) << row.text;
    }
}

TEST(HashedTextTest, TheHashOfTextsOfEveryLengthWrapsAround) {
    std::string text;
    size_t expected = 0;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(HashedText(text).hash(), expected) << i;
        const auto byte = static_cast<signed char>(i * 37);
        text += static_cast<char>(byte);
        expected = expected * 9 + static_cast<size_t>(byte);
    }
}

TEST(HashedTextTest, TheLargestBytesDoNotOverflow) {
    for (const char byte : {'\x80', '\x7F'}) {
        size_t expected = 0;
        for (int i = 0; i < 100; ++i) {
            expected = expected * 9 + static_cast<size_t>(static_cast<signed char>(byte));
        }
        EXPECT_EQ(HashedText(std::string(100, byte)).hash(), expected);
    }
}

TEST(HashedTextTest, ANullTextIsAnEmptyOne) {
    const HashedText null{StringSpan()};
    EXPECT_NE(null.text().data, nullptr);
    EXPECT_EQ(null.text().length, 0U);
    EXPECT_EQ(null.hash(), 0U);
}

TEST(HashTableTest, ANewTableHasFourBucketsAndFindsNothing) {
    HashTable<int> table;
    EXPECT_EQ(Peer::buckets(table), 4U);
    EXPECT_EQ(table.size(), 0U);
    EXPECT_EQ(table.find(HashedText("")), nullptr);
    EXPECT_EQ(table.find(HashedText("a")), nullptr);
}

TEST(HashTableTest, AnAddedTextIsFoundByAnotherCopyOfIt) {
    HashTable<int> table;
    table.add(HashedText("one"), 1);
    table.add(HashedText("two"), 2);
    int* const found = table.find(HashedText(std::string("two")));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(*found, 2);
    EXPECT_EQ(table.size(), 2U);
}

TEST(HashTableTest, TextsInOneChainAreDistinguished) {
    // All have a hash that is divisible by 16.
    const std::string texts[] = {std::string(1, '\0'), std::string(2, '\0'), "", "0", "p"};
    HashTable<size_t> table;
    for (size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_EQ(table.find(HashedText(texts[i])), nullptr);
        table.add(HashedText(texts[i]), i);
    }
    for (size_t i = 0; i < std::size(texts); ++i) {
        const size_t* const found = table.find(HashedText(texts[i]));
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(*found, i);
    }
}

TEST(HashTableTest, AKeyAtTheSameAddressIsFoundWithoutALookAtItsBytes) {
    const HashedText key = HashedText("text").of(reinterpret_cast<const char*>(0x1234));
    HashTable<int> table;
    table.add(key, 1);
    EXPECT_NE(table.find(key), nullptr);
}

TEST(HashTableTest, FourBucketsHoldElevenEntriesAndTheTwelfthMakesThemSixteen) {
    const std::vector<std::string> texts = numberedTexts(12);
    HashTable<int> table;
    for (size_t i = 0; i < 11; ++i) {
        table.add(HashedText(texts[i]), 0);
    }
    EXPECT_EQ(Peer::buckets(table), 4U);
    table.add(HashedText(texts[11]), 0);
    EXPECT_EQ(Peer::buckets(table), 16U);
    EXPECT_EQ(table.size(), 12U);
}

TEST(HashTableTest, EachGrowthIsByFour) {
    const std::vector<std::string> texts = numberedTexts(768);
    HashTable<int> table;
    for (size_t count = 1; count <= texts.size(); ++count) {
        table.add(HashedText(texts[count - 1]), 0);
        const size_t expected = count < 12    ? 4
                                : count < 48  ? 16
                                : count < 192 ? 64
                                : count < 768 ? 256
                                              : 1024;
        ASSERT_EQ(Peer::buckets(table), expected) << count;
        ASSERT_TRUE(Peer::hasRightBuckets(table)) << count;
    }
}

TEST(HashTableTest, ANewEntryGoesToTheFrontOfItsChain) {
    HashTable<int> table;
    for (const char* const text : {"a", "e", "b", "i"}) {
        table.add(HashedText(text), 0);
    }
    EXPECT_EQ(Peer::chain(table, 1), "iea");
    EXPECT_EQ(Peer::chain(table, 2), "b");
}

TEST(HashTableTest, GrowthTurnsChainsRoundBeforeTheNewEntryGoesToTheFront) {
    const std::string digits = " 0@P`p!1AQa";  // eleven texts with hashes of 0 or 1 modulo 16
    HashTable<int> table;
    for (size_t i = 0; i < digits.size(); ++i) {
        table.add(HashedText(StringSpan(&digits[i], 1)), 0);
    }
    EXPECT_EQ(Peer::chain(table, 0), "p`P@0 ");
    EXPECT_EQ(Peer::chain(table, 1), "aQA1!");
    table.add(HashedText("q"), 0);
    EXPECT_EQ(Peer::chain(table, 0), " 0@P`p");
    EXPECT_EQ(Peer::chain(table, 1), "q!1AQa");
}

TEST(HashTableTest, ValuesStayWhereTheyAreWhenTheTableGrows) {
    const std::vector<std::string> texts = numberedTexts(10000);
    HashTable<size_t> table;
    std::vector<size_t*> places;
    for (size_t i = 0; i < texts.size(); ++i) {
        places.push_back(&table.add(HashedText(texts[i]), i));
    }
    for (size_t i = 0; i < texts.size(); ++i) {
        ASSERT_EQ(table.find(HashedText(texts[i])), places[i]);
        ASSERT_EQ(*places[i], i);
    }
}

struct Unmovable {
    Unmovable() = default;
    [[noreturn]] Unmovable(const Unmovable& /*other*/) { throw std::bad_alloc(); }
    Unmovable& operator=(const Unmovable&) = delete;
};

TEST(HashTableTest, AnEntryThatThereIsNoMemoryForIsNotThere) {
    HashTable<Unmovable> table;
    EXPECT_THROW(table.add(HashedText("a"), Unmovable()), std::bad_alloc);
    EXPECT_EQ(table.size(), 0U);
    EXPECT_EQ(table.find(HashedText("a")), nullptr);
}

}  // namespace
