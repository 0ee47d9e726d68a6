#include "clearcase/elementtable.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "util/prefetch.h"

namespace {

/// Returns the eight bytes from `at` on, with zeros after the end, as a number that sorts like
/// them.
uint64_t sortable(std::string_view key, size_t at) {
    uint64_t number = 0;
    for (size_t i = at; i < at + sizeof number; ++i) {
        number = number << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0U);
    }
    return number;
}

void assign(ElementRecord& record, ElementType type, std::string_view value) {
    record.type = type;
    record.value = value;
}

}  // namespace

void ElementTableBuilder::store(std::string_view key, ElementType type, std::string_view value) {
    if (mLines.empty()) {
        const int order = mTable.empty() ? -1 : mTable.rbegin()->first.compare(key);
        if (order < 0) {
            put(mTable.end(), key, type, value);
            return;
        }
        if (order == 0) {
            assign(mTable.rbegin()->second, type, value);
            return;
        }
    }
    collect(key, type, value);
}

void ElementTableBuilder::put(ElementTable::iterator before, std::string_view key, ElementType type,
                              std::string_view value) {
    const auto element = mTable.emplace_hint(before, std::piecewise_construct,
                                             std::forward_as_tuple(key), std::forward_as_tuple());
    assign(element->second, type, value);
}

void ElementTableBuilder::collect(std::string_view key, ElementType type, std::string_view value) {
    mLines.push_back({0, mText.size(), key.size(), value.size(), type});
    mText.append(key).append(value).push_back('\0');  // so that no two have the same place
    const std::string_view first = keyOf(mLines.front());
    const size_t shared = mLines.size() == 1 ? key.size() : std::min(mCommonLength, key.size());
    const auto end = first.begin() + static_cast<std::ptrdiff_t>(shared);
    const auto difference = std::mismatch(first.begin(), end, key.begin()).first;
    mCommonLength = static_cast<size_t>(difference - first.begin());
}

void ElementTableBuilder::sortLines() {
    for (Line& line : mLines) {
        line.keyPart = sortable(keyOf(line), mCommonLength);
    }
    std::sort(mLines.begin(), mLines.end(), [this](const Line& a, const Line& b) {
        if (a.keyPart != b.keyPart) {
            return a.keyPart < b.keyPart;
        }
        const int order = keyOf(a).compare(keyOf(b));
        return order != 0 ? order < 0 : a.at < b.at;
    });
}

void ElementTableBuilder::finish() {
    sortLines();
    constexpr std::ptrdiff_t ahead = 8;  // making this many elements takes longer than a fetch
    auto next = mTable.begin();
    std::string wanted;  // allocated once
    for (auto line = mLines.begin(); line != mLines.end(); ++line) {
        if (mLines.end() - line > ahead) {
            prefetch(&mText[line[ahead].at]);
        }
        const std::string_view key = keyOf(*line);
        // Elements with the same key are adjacent, in the order in which they were stored.
        const auto later = line + 1;
        if (later != mLines.end() && later->keyPart == line->keyPart && keyOf(*later) == key) {
            continue;
        }
        if (next != mTable.end() && next->first < key) {
            wanted = key;
            next = mTable.lower_bound(wanted);
        }
        const std::string_view value(&mText[line->at + line->keyLength], line->valueLength);
        if (next != mTable.end() && next->first == key) {
            assign(next->second, line->type, value);
        } else {
            put(next, key, line->type, value);
        }
    }
}
