#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <utility>
#include <vector>

#include "util/textspan.h"

/// A text and its hash, the key of a `HashTable`. The hash is computed once and works for every
/// table. Refers to the text. A null text counts as an empty one.
class HashedText {
public:
    /// Computes the hash. The text must outlive this object.
    explicit HashedText(StringSpan text)
        : mText(text.data != nullptr ? text : StringSpan("")), mHash(hash(mText)) {}

    /// Returns the same key for a copy of the text's characters.
    [[nodiscard]] HashedText of(const char* copy) const {
        HashedText result = *this;
        result.mText.data = copy;
        return result;
    }

    [[nodiscard]] StringSpan text() const { return mText; }  ///< never null
    [[nodiscard]] size_t hash() const { return mHash; }      ///< as the static function returns it

    /// Returns the hash of a text: starts at 0 and, for each byte, multiplies by 9 and adds the
    /// byte as a signed value.
    [[nodiscard]] static size_t hash(StringSpan text) {
        const char* at = text.data;
        const char* const end = at + text.length;
        size_t result = 0;
        // The eight bytes of a block are hashed in parallel; only adding the block's hash needs the
        // result so far.
        for (; end - at >= 8; at += 8) {
            result = result * factorPower8 + hashOfEight(at);
        }
        for (; at != end; ++at) {
            result = result * factor + static_cast<size_t>(static_cast<signed char>(*at));
        }
        return result;
    }

private:
    static constexpr uint64_t factor = 9;
    static constexpr uint64_t factorPower2 = factor * factor;
    static constexpr uint64_t factorPower4 = factorPower2 * factorPower2;
    static constexpr uint64_t factorPower8 = factorPower4 * factorPower4;

    /// Returns the hash of eight bytes: combines neighbouring bytes into pairs, the pairs into
    /// fours, and the two fours into the result.
    static size_t hashOfEight(const char* bytes) {
        static_assert(std::endian::native == std::endian::little);
        // A signed byte is the unsigned byte with its sign bit flipped, minus 128.
        constexpr uint64_t signBits = 0x8080'8080'8080'8080;
        constexpr uint64_t surplus = uint64_t{128} * (factorPower8 - 1) / (factor - 1);
        uint64_t x = 0;
        std::memcpy(&x, bytes, sizeof x);
        x ^= signBits;
        x = (x & 0x00FF'00FF'00FF'00FF) * factor + (x >> 8 & 0x00FF'00FF'00FF'00FF);
        x = (x & 0x0000'FFFF'0000'FFFF) * factorPower2 + (x >> 16 & 0x0000'FFFF'0000'FFFF);
        return (x & 0xFFFF'FFFF) * factorPower4 + (x >> 32) - surplus;
    }

    StringSpan mText;
    size_t mHash;
};

/// A chained hash table from texts to values. Entries are never removed.
///
/// An entry, and so its value, keeps its address for the lifetime of the table: when the table
/// grows, the entries are only linked anew. The table doesn't own the texts of its keys: whoever
/// adds an entry must make sure that its text outlives the table. There is no locking: use a table
/// on one thread at a time, or under a lock of your own.
template <class Value>
class HashTable {
public:
    static constexpr size_t firstBuckets = 4;  ///< the number of buckets of a new table
    static constexpr size_t growth = 4;        ///< by this factor, the buckets become more
    /// The table grows so that the entries per bucket are always fewer than this on average.
    static constexpr size_t load = 3;

    HashTable() : mBuckets(firstBuckets) {}
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;

    /// Returns the number of entries.
    [[nodiscard]] size_t size() const { return mEntries.size(); }

    /// Returns the value of the text, or null.
    [[nodiscard]] Value* find(const HashedText& key) {
        for (Entry* entry = mBuckets[bucketOf(key.hash())]; entry != nullptr; entry = entry->next) {
            if (isEqual(entry->key, key.text())) {
                return &entry->value;
            }
        }
        return nullptr;
    }

    /// Adds an entry for a text that doesn't have one yet. Throws std::bad_alloc; nothing is added
    /// then.
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

    /// The number of buckets is a power of 2.
    size_t bucketOf(size_t hash) const { return hash & (mBuckets.size() - 1); }

    /// Adds an entry at the front of its chain.
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
