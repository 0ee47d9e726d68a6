#pragma once

#include <cstddef>
#include <set>
#include <string>

/// An ordered set of paths. An entry can be a prefix, which covers everything that begins with it.
/// Paths are compared byte by byte: nothing is folded, and the prefix `C:/a` covers `C:/ab`.
///
/// The set never holds an entry that a prefix of the set covers, so at most one entry covers a key.
/// Use a set on one thread at a time, or on any number of threads that only read.
class PathPrefixSet {
public:
    /// A path of the set.
    struct Entry {
        std::string path;  ///< byte for byte as it was inserted
        bool isPrefix;     ///< covers everything that begins with `path`, not only `path` itself

        /// Returns whether this entry covers the key.
        [[nodiscard]] bool covers(const std::string& key) const;
    };

private:
    /// Orders by the bytes of the paths; also compares an entry with a plain path.
    struct Less {
        using is_transparent = void;
        bool operator()(const Entry& a, const Entry& b) const { return a.path < b.path; }
        bool operator()(const Entry& a, const std::string& b) const { return a.path < b; }
        bool operator()(const std::string& a, const Entry& b) const { return a < b.path; }
    };
    using Entries = std::set<Entry, Less>;

public:
    /// Visits the entries in the order of the bytes of their paths.
    using const_iterator = Entries::const_iterator;

    /// Adds a path, unless a prefix of the set covers it. If the path is already in the set and
    /// `isPrefix` is true, its entry becomes a prefix. A prefix removes the entries that it covers.
    void insert(std::string path, bool isPrefix);
    /// Returns the entry that covers `key`, or `end()`.
    [[nodiscard]] const_iterator find(const std::string& key) const;

    /// Visits the entry whose path comes first.
    [[nodiscard]] const_iterator begin() const { return mEntries.begin(); }
    /// Is one past the last entry.
    [[nodiscard]] const_iterator end() const { return mEntries.end(); }
    /// Returns the number of entries.
    [[nodiscard]] size_t size() const { return mEntries.size(); }

private:
    Entries mEntries;
};
