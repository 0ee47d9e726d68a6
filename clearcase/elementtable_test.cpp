#include "clearcase/elementtable.h"

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "clearcase/elementindex.h"
#include "testing/counts/allocationcount.h"

namespace {

using Values = std::map<std::string, std::string>;

/// A table and its index, and their expected content.
class ElementTableTest : public testing::Test {
protected:
    void store(const std::string& key, const std::string& value) {
        const auto type = static_cast<ElementType>(value.size() % 9);
        mBuilder.store(key, type, value);
        mExpected[key] = value;
    }

    /// Finishes the table and checks all of it.
    void expectAll() {
        mBuilder.finish();
        mIndex = ElementIndex(mTable);
        Values values;
        for (const auto& [key, record] : mTable) {
            values[key] = record.value;
            EXPECT_EQ(record.type, static_cast<int>(record.value.size() % 9)) << key;
            EXPECT_EQ(mIndex.find(key), &record) << key;
        }
        EXPECT_EQ(values, mExpected);
        for (const auto& [key, value] : mExpected) {
            for (const std::string& other : {key + "x", key.substr(0, key.size() / 2)}) {
                EXPECT_EQ(mIndex.find(other) != nullptr, mExpected.count(other) != 0) << other;
            }
        }
    }

    ElementTable mTable;
    ElementIndex mIndex;
    ElementTableBuilder mBuilder{mTable};
    Values mExpected;
};

TEST_F(ElementTableTest, WithoutElementsNothingIsFound) {
    EXPECT_EQ(mIndex.find("C:\\a"), nullptr);
    expectAll();
    EXPECT_EQ(mIndex.find("C:\\a"), nullptr);
    EXPECT_EQ(mIndex.find(""), nullptr);
}

TEST_F(ElementTableTest, ElementsInOrderGoInOneAfterTheOther) {
    for (const char* key : {"C:\\", "C:\\a", "C:\\a!", "C:\\a\\b", "D:\\"}) {
        store(key, key);
        EXPECT_EQ(mTable.rbegin()->first, key);
    }
    expectAll();
}

TEST_F(ElementTableTest, ElementsInAnyOrderAreSorted) {
    for (const char* key :
         {"C:\\m", "C:\\z", "C:\\a", "C:\\zz", "C:\\n", "B:\\", "C:\\", "C:\\mm"}) {
        store(key, key);
    }
    expectAll();
}

TEST_F(ElementTableTest, OfElementsWithOneKeyTheLastStays) {
    store("C:\\a", "first");
    store("C:\\a", "second, of a table that is in order");
    store("C:\\c", "first");
    store("C:\\b", "first");
    store("C:\\b", "second, of those that are collected");
    store("C:\\a", "third, collected after one that is in the table");
    store("C:\\c", "second, with a key that the table ends with");
    store("C:\\b", "");
    expectAll();
}

TEST_F(ElementTableTest, OfManyElementsWithoutAKeyTheLastStays) {
    store("b", "");
    for (int i = 0; i < 100; ++i) {
        store("", "");
    }
    store("", "last");
    expectAll();
}

TEST_F(ElementTableTest, KeysThatDifferOnlyInLengthOrInNulsAreDifferentKeys) {
    using namespace std::string_literals;
    store("b", "");
    for (const std::string& key :
         {"a\0"s, "a"s, "a\0\0"s, ""s, "a\0b"s, "aaaaaaaaaa"s, "aaaaaaaaaaa"s, "aaaaaaaa\0"s,
          "aaaaaaaa"s, "\xFF"s, "\x80"s, "\x7F"s}) {
        store(key, std::to_string(key.size()));
    }
    expectAll();
}

TEST_F(ElementTableTest, AHalfThatComesLaterIsMergedIntoOneThatIsThere) {
    for (int start : {0, 1}) {
        for (int i = start; i < 400; i += 2) {
            store("C:\\" + std::to_string(1000 + i), std::to_string(i));
        }
    }
    expectAll();
}

TEST_F(ElementTableTest, ElementsOfManyFoldersAreAllThereInWhateverOrder) {
    // Always the same seed, so that a failure is repeatable.
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
    for (int i = 0; i < 5000; ++i) {
        std::string key = "M:\\view";
        for (size_t depth = random() % 5; depth > 0; --depth) {
            key += "\\folder" + std::to_string(random() % 6);
        }
        store(key, std::to_string(i));
    }
    expectAll();
}

TEST_F(ElementTableTest, AnElementTakesTwoAllocationsInWhateverOrderItComes) {
    constexpr size_t elementCount = 2000;
    constexpr size_t strides[] = {1, 7};  // in order, and out of order
    for (const size_t stride : strides) {
        std::vector<std::string> keys;
        for (size_t i = 0; i < elementCount; ++i) {
            keys.push_back("M:\\view\\a folder\\file" +
                           std::to_string(10000 + i * stride % elementCount));
        }
        ElementTable table;
        const size_t before = testing_support::allocationCount();
        ElementTableBuilder builder(table);
        for (const std::string& key : keys) {
            builder.store(key, elementVersion, "/main/3");
        }
        builder.finish();
        const ElementIndex index(table);
        const size_t after = testing_support::allocationCount();
        EXPECT_EQ(table.size(), elementCount);
        EXPECT_LT(after - before, 2 * elementCount + 60)
            << "the rest is of a few vectors that grow";
    }
}

TEST_F(ElementTableTest, TheIndexHoldsOfATableThatIsSwapped) {
    store("C:\\b", "x");
    store("C:\\a", "y");
    mBuilder.finish();
    mIndex = ElementIndex(mTable);
    ElementTable other;
    other.swap(mTable);
    const ElementIndex moved = std::move(mIndex);
    EXPECT_EQ(moved.find("C:\\a"), &other.at("C:\\a"));
    EXPECT_EQ(moved.find("C:\\b"), &other.at("C:\\b"));
}

}  // namespace
