#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
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
        constexpr size_t ninePower8 = 43'046'721;
        const char* at = text.data;
        const char* const end = at + text.length;
        size_t result = 0;
        // The bytes of a block don't wait for what was before, nor for one another.
        for (; end - at >= 8; at += 8) {
            result = result * ninePower8 + hashOfEight(at);
        }
        for (; at != end; ++at) {
            result = result * 9 + static_cast<size_t>(static_cast<signed char>(*at));
        }
        return result;
    }

private:
    /// The hash of eight bytes: of neighbours in pairs, of those in pairs, and of those.
    static size_t hashOfEight(const char* bytes) {
        static_assert(std::endian::native == std::endian::little);
        // A signed byte is the unsigned one with the other sign bit, less 128.
        constexpr uint64_t signBits = 0x8080'8080'8080'8080;
        constexpr uint64_t surplus = uint64_t{128} * (43'046'721 - 1) / 8;
        uint64_t x = 0;
        std::memcpy(&x, bytes, sizeof x);
        x ^= signBits;
        x = (x & 0x00FF'00FF'00FF'00FF) * 9 + (x >> 8 & 0x00FF'00FF'00FF'00FF);
        x = (x & 0x0000'FFFF'0000'FFFF) * 81 + (x >> 16 & 0x0000'FFFF'0000'FFFF);
        return (x & 0xFFFF'FFFF) * 6561 + (x >> 32) - surplus;
    }

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
        mEntries.push_back(Entry{nullptr, 0, key.text(), std::move(value)});
        Entry& entry = mEntries.back();
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
