#include "util/pathprefixset.h"

#include <iterator>
#include <utility>

bool PathPrefixSet::Entry::covers(const std::string& key) const {
    return key.starts_with(path) && (isPrefix || path.size() == key.size());
}

void PathPrefixSet::insert(std::string path, bool isPrefix) {
    auto [entry, isNew] = mEntries.insert({std::move(path), isPrefix});
    if (!isNew) {
        if (!isPrefix || entry->isPrefix) {
            return;
        }
        // Entries in the set are constant, so this one is taken out for the change.
        auto node = mEntries.extract(entry);
        node.value().isPrefix = true;
        entry = mEntries.insert(std::move(node)).position;
    } else if (entry != mEntries.begin() && std::prev(entry)->covers(entry->path)) {
        mEntries.erase(entry);
        return;
    }
    if (isPrefix) {
        auto covered = std::next(entry);
        while (covered != mEntries.end() && covered->path.starts_with(entry->path)) {
            covered = mEntries.erase(covered);
        }
    }
}

PathPrefixSet::const_iterator PathPrefixSet::find(const std::string& key) const {
    auto entry = mEntries.upper_bound(key);
    if (entry == mEntries.begin() || !(--entry)->covers(key)) {
        return mEntries.end();
    }
    return entry;
}
