// A set of paths and prefixes, compared with an unordered list. Input: a line for each call:
// `+path` inserts a path, `*path` a prefix, and any other line is a key to find.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/pathprefixset.h"

namespace {

constexpr size_t mostCalls = 64;

struct Item {
    std::string path;
    bool isPrefix;

    friend bool operator==(const Item&, const Item&) = default;
};

class Model {
public:
    void insert(const std::string& path, bool isPrefix) {
        const Item* const cover = covering(path);
        if (cover != nullptr && (cover->isPrefix || !isPrefix)) {
            return;
        }
        if (isPrefix) {
            std::erase_if(mItems, [&](const Item& item) { return begins(item.path, path); });
        }
        mItems.push_back({path, isPrefix});
    }

    /// Returns the only item that covers `key`, or null.
    const Item* covering(const std::string& key) const {
        const Item* found = nullptr;
        for (const Item& item : mItems) {
            if (item.isPrefix ? begins(key, item.path) : key == item.path) {
                NB_ASSERT(found == nullptr);
                found = &item;
            }
        }
        return found;
    }

    std::vector<Item> sorted() const {
        std::vector<Item> items = mItems;
        std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
            return std::lexicographical_compare(
                a.path.begin(), a.path.end(), b.path.begin(), b.path.end(), [](char c, char d) {
                    return static_cast<unsigned char>(c) < static_cast<unsigned char>(d);
                });
        });
        return items;
    }

private:
    static bool begins(const std::string& text, const std::string& front) {
        return text.compare(0, front.size(), front) == 0;
    }

    std::vector<Item> mItems;
};

void checkFind(const PathPrefixSet& set, const Model& model, const std::string& key) {
    const auto found = set.find(key);
    const Item* const expected = model.covering(key);
    NB_ASSERT((found != set.end()) == (expected != nullptr));
    if (expected != nullptr) {
        NB_ASSERT(found->path == expected->path && found->isPrefix == expected->isPrefix);
        NB_ASSERT(found->covers(key));
    }
}

void checkContents(const PathPrefixSet& set, const Model& model) {
    std::vector<Item> items;
    for (const PathPrefixSet::Entry& entry : set) {
        items.push_back({entry.path, entry.isPrefix});
    }
    NB_ASSERT(items == model.sorted());
    NB_ASSERT(set.size() == items.size());
}

/// Checks keys around a path: the path itself, the path without its last character, a key directly
/// after it, and one far after it.
void checkAround(const PathPrefixSet& set, const Model& model, const std::string& path) {
    checkFind(set, model, path);
    checkFind(set, model, path.substr(0, path.size() - std::min<size_t>(path.size(), 1)));
    checkFind(set, model, path + '\0');
    checkFind(set, model, path + "\xFF/a");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    PathPrefixSet set;
    Model model;
    for (size_t call = 0; call < mostCalls && !rest.empty(); ++call) {
        const std::string line = takeLine(rest);
        const char kind = line.empty() ? '?' : line.front();
        if (kind == '+' || kind == '*') {
            const std::string path = line.substr(1);
            set.insert(path, kind == '*');
            model.insert(path, kind == '*');
            checkContents(set, model);
            checkAround(set, model, path);
        } else {
            checkFind(set, model, line);
        }
    }
    for (const PathPrefixSet::Entry& entry : set) {
        checkAround(set, model, entry.path);
    }
    return 0;
}
