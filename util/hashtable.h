#pragma once

#include <cstddef>
#include <cstring>
#include <deque>
#include <utility>
#include <vector>

#include "util/textspan.h"

/// A text and its hash, the key of a `HashTable`: worked out once, good for every table. Refers to
/// the text. A null text is an empty one.
class HashedText {
public:
    explicit HashedText(StringSpan text)
        : mText(text.data != nullptr ? text : StringSpan("")), mHash(hash(mText)) {}

    /// The same key over a copy of the text's characters.
    HashedText of(const char* copy) const {
        HashedText result = *this;
        result.mText.data = copy;
        return result;
    }

    StringSpan text() const { return mText; }
    size_t hash() const { return mHash; }

    /// From 0 on, times 9 plus the byte, which counts as a signed value.
    static size_t hash(StringSpan text) {
        size_t result = 0;
        for (const char c : text.view()) {
            result = result * 9 + static_cast<size_t>(static_cast<signed char>(c));
        }
        return result;
    }

private:
    StringSpan mText;
    size_t mHash;
};

/// A chained hash table from texts to values, of which nothing is ever removed.
///
/// An entry, and so its value, stays where it is in memory as long as the table is there: growing
/// links the entries anew. The table doesn't own the texts of its keys: whoever adds an entry sees
/// to it that its text outlives the table. One thread at a time; users lock.
template <class Value>
class HashTable {
public:
    static constexpr size_t firstBuckets = 4;
    static constexpr size_t growth = 4;
    /// The table grows so that there are always fewer entries than this for each bucket.
    static constexpr size_t load = 3;

    HashTable() : mBuckets(firstBuckets) {}
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;

    size_t size() const { return mEntries.size(); }

    /// The value of the text, or null.
    Value* find(const HashedText& key) {
        for (Entry* entry = mBuckets[bucketOf(key.hash())]; entry != nullptr; entry = entry->next) {
            if (isEqual(entry->key, key.text())) {
                return &entry->value;
            }
        }
        return nullptr;
    }

    /// Adds an entry for a text that has none. Throws std::bad_alloc, and has added nothing then.
    Value& add(const HashedText& key, Value value) {
        if (size() + 1 >= load * mBuckets.size()) {
            grow();
        }
        Entry& entry = mEntries.emplace_back(Entry{nullptr, 0, key.text(), std::move(value)});
        link(entry, key.hash());
        return entry.value;
    }

private:
    friend struct HashTableTestPeer;

    struct Entry {
        Entry* next;
        size_t bucket;
        StringSpan key;
        Value value;
    };

    static bool isEqual(const StringSpan& a, const StringSpan& b) {
        return a.length == b.length &&
               (a.data == b.data || std::memcmp(a.data, b.data, a.length) == 0);
    }

    /// The count of buckets is a power of 2.
    size_t bucketOf(size_t hash) const { return hash & (mBuckets.size() - 1); }

    /// Puts an entry to the front of its chain.
    void link(Entry& entry, size_t hash) {
        entry.bucket = bucketOf(hash);
        entry.next = std::exchange(mBuckets[entry.bucket], &entry);
    }

    void grow() {
        std::vector<Entry*> old(growth * mBuckets.size());
        old.swap(mBuckets);
        for (Entry* entry : old) {
            while (entry != nullptr) {
                Entry* const next = entry->next;
                link(*entry, HashedText::hash(entry->key));
                entry = next;
            }
        }
    }

    std::vector<Entry*> mBuckets;
    std::deque<Entry> mEntries;
};
