#include "util/pathprefixset.h"

#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Entries = std::vector<std::pair<std::string, bool>>;

constexpr bool prefix = true;
constexpr bool plain = false;

PathPrefixSet makeSet(const Entries& entries) {
    PathPrefixSet set;
    for (const auto& [path, isPrefix] : entries) {
        set.insert(path, isPrefix);
    }
    return set;
}

Entries entriesOf(const PathPrefixSet& set) {
    Entries entries;
    for (const PathPrefixSet::Entry& entry : set) {
        entries.emplace_back(entry.path, entry.isPrefix);
    }
    return entries;
}

constexpr std::nullopt_t noPrefix = std::nullopt;

/// Returns the path of the entry that covers `key`.
std::optional<std::string> found(const PathPrefixSet& set, const std::string& key) {
    const PathPrefixSet::const_iterator entry = set.find(key);
    return entry == set.end() ? std::nullopt : std::make_optional(entry->path);
}

// The entries that a set returns are constant. If they changed, the set couldn't find them.
static_assert(!std::is_assignable_v<decltype((PathPrefixSet().begin()->isPrefix)), bool>);
static_assert(!std::is_assignable_v<decltype((PathPrefixSet().begin()->path)), std::string>);

TEST(PathPrefixSetTest, APrefixTakesAwayWhatItCovers) {
    EXPECT_EQ(entriesOf(makeSet({{"ab", plain}, {"abc", prefix}, {"b", plain}, {"a", prefix}})),
              (Entries{{"a", prefix}, {"b", plain}}));
}

TEST(PathPrefixSetTest, WhatAPrefixCoversIsNotAdded) {
    EXPECT_EQ(entriesOf(makeSet({{"a", prefix}, {"ab", plain}, {"abc", prefix}, {"a", plain}})),
              (Entries{{"a", prefix}}));
}

TEST(PathPrefixSetTest, APlainEntryBecomesAPrefixAndTakesAwayWhatItCoversThen) {
    EXPECT_EQ(entriesOf(makeSet({{"a", plain}, {"ab", plain}, {"a", prefix}})),
              (Entries{{"a", prefix}}));
}

TEST(PathPrefixSetTest, APlainEntryCoversOnlyItself) {
    const PathPrefixSet set = makeSet({{"a", plain}, {"a", plain}, {"ab", plain}});
    EXPECT_EQ(entriesOf(set), (Entries{{"a", plain}, {"ab", plain}}));
    EXPECT_EQ(found(set, "abc"), noPrefix);
    EXPECT_EQ(found(set, ""), noPrefix);
    EXPECT_EQ(found(set, "a"), "a");
}

TEST(PathPrefixSetTest, TheEntryThatCoversAKeyIsFound) {
    const PathPrefixSet set = makeSet({{"C:/a", prefix}, {"b", plain}});
    EXPECT_EQ(found(set, "C:/a"), "C:/a");
    EXPECT_EQ(found(set, "C:/ab"), "C:/a") << "bytes count, and not components";
    EXPECT_EQ(found(set, "C:/"), noPrefix);
    EXPECT_EQ(found(set, "c:/a"), noPrefix) << "nothing is folded";
    EXPECT_EQ(found(set, "C:\\a"), noPrefix);
    EXPECT_EQ(found(set, "b"), "b");
    EXPECT_EQ(found(set, "bc"), noPrefix);
}

TEST(PathPrefixSetTest, AnEmptyPrefixCoversEverything) {
    const PathPrefixSet set = makeSet({{"a", prefix}, {"", prefix}, {"b", plain}});
    EXPECT_EQ(entriesOf(set), (Entries{{"", prefix}}));
    EXPECT_EQ(found(set, "x"), "");
    EXPECT_EQ(set.size(), 1U);
}

TEST(PathPrefixSetTest, BytesAreOrderedUnsigned) {
    EXPECT_EQ(entriesOf(makeSet({{"\xFF", plain}, {"a", plain}, {std::string(1, '\0'), plain}})),
              (Entries{{std::string(1, '\0'), plain}, {"a", plain}, {"\xFF", plain}}));
}

TEST(PathPrefixSetTest, ItAgreesWithAPlainListOfWhatWasPutIn) {
    std::mt19937 random(5);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same paths every time
    const auto path = [&] {
        std::string text;
        for (size_t i = random() % 5; i > 0; --i) {
            text += static_cast<char>('a' + random() % 3);
        }
        return text;
    };
    for (int round = 0; round < 300; ++round) {
        Entries list;
        PathPrefixSet set;
        for (int i = 0; i < 20; ++i) {
            list.emplace_back(path(), random() % 4 == 0);
            set.insert(list.back().first, list.back().second);
            const std::string key = path();
            bool isCovered = false;
            for (const auto& [known, isPrefix] : list) {
                isCovered = isCovered || key == known || (isPrefix && key.starts_with(known));
            }
            ASSERT_EQ(set.find(key) != set.end(), isCovered) << key;
        }
    }
}

}  // namespace
