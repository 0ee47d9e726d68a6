#pragma once

#include <cstddef>
#include <set>
#include <string>

/// An ordered set of paths, some of which stand for everything that begins with them. Paths are
/// compared byte by byte: nothing is folded, and the prefix `C:/a` covers `C:/ab`.
///
/// As no entry is kept that a prefix of the set covers, there is at most one that covers a key. One
/// thread at a time, or any number that only read.
class PathPrefixSet {
public:
    struct Entry {
        std::string path;
        bool isPrefix;  ///< covers all that begins with `path`, and not only that itself

        bool covers(const std::string& key) const;
    };

private:
    /// By the bytes of the paths, also against a path alone.
    struct Less {
        using is_transparent = void;
        bool operator()(const Entry& a, const Entry& b) const { return a.path < b.path; }
        bool operator()(const Entry& a, const std::string& b) const { return a.path < b; }
        bool operator()(const std::string& a, const Entry& b) const { return a < b.path; }
    };
    using Entries = std::set<Entry, Less>;

public:
    using const_iterator = Entries::const_iterator;

    /// Adds a path, unless a prefix of the set covers it; a path that is there becomes a prefix if
    /// `isPrefix` says so. A prefix takes away the entries that it covers.
    void insert(std::string path, bool isPrefix);
    /// The entry that covers `key`, or `end()`.
    const_iterator find(const std::string& key) const;

    const_iterator begin() const { return mEntries.begin(); }
    const_iterator end() const { return mEntries.end(); }
    size_t size() const { return mEntries.size(); }

private:
    Entries mEntries;
};
