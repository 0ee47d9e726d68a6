#include "util/stringsplit.h"

#include <algorithm>
#include <cstddef>

#include "util/characterset.h"
#include "util/stringcompare.h"

namespace {

// Passes the start and end of each token between delimiters to `take`.
template <class Take>
void forEachToken(const std::string& text, const std::string& delimiters, Take take) {
    const CharacterSet set(delimiters);
    for (size_t start = set.findNotIn(text, 0); start < text.size();) {
        const size_t end = set.findIn(text, start);
        take(start, end);
        start = set.findNotIn(text, end);
    }
}

template <class Item, class Equal>
void dropRepeats(std::vector<Item>& items, Equal equal) {
    items.erase(std::unique(items.begin(), items.end(), equal), items.end());
}

}  // namespace

void splitRanges(const std::string& text, std::vector<TextRange>& out,
                 const std::string& delimiters, bool keepEmpty) {
    const CharacterSet set(delimiters);
    size_t start = 0;
    for (size_t at = set.findIn(text, 0); at < text.size(); at = set.findIn(text, start)) {
        // Compatibility: a delimiter at index 0 has no token before it, even with `keepEmpty`:
        // ",a" is one token.
        if (at != 0 && (keepEmpty || at != start)) {
            out.emplace_back(start, at);
        }
        start = at + 1;
    }
    if (start < text.size()) {
        out.emplace_back(start, text.size());
    }
}

void splitRuns(const std::string& text, std::vector<TextRange>& out,
               const std::string& delimiters) {
    const CharacterSet set(delimiters);
    for (size_t start = 0; start < text.size();) {
        const size_t end =
            set.contains(text[start]) ? set.findNotIn(text, start) : set.findIn(text, start);
        out.emplace_back(start, end);
        start = end;
    }
}

void split(const std::string& text, std::vector<std::string>& out, const std::string& delimiters) {
    forEachToken(text, delimiters,
                 [&](size_t start, size_t end) { out.emplace_back(text, start, end - start); });
}

void split(const std::string& text, std::set<std::string>& out, const std::string& delimiters) {
    forEachToken(text, delimiters,
                 [&](size_t start, size_t end) { out.insert(text.substr(start, end - start)); });
}

bool splitQuoted(const std::string& text, std::vector<std::string>& out,
                 const std::string& delimiters, const std::string& quotes, bool stripQuotes) {
    const CharacterSet set(delimiters);
    const CharacterSet quoteSet(quotes);
    for (size_t start = set.findNotIn(text, 0); start < text.size();) {
        size_t end = 0;  // of the token including its quotes
        if (quoteSet.contains(text[start])) {
            // Compatibility: any kind of quote closes a token, whichever kind opened it: "a' is a
            // token.
            const size_t closing = quoteSet.findIn(text, start + 1);
            if (closing == text.size()) {
                return false;
            }
            end = closing + 1;
            const size_t border = stripQuotes ? 1 : 0;
            out.emplace_back(text, start + border, end - start - 2 * border);
        } else {
            end = set.findIn(text, start);
            out.emplace_back(text, start, end - start);
        }
        start = set.findNotIn(text, end);
    }
    return true;
}

std::string joinRanges(const std::string& text, const std::vector<TextRange>& ranges,
                       const std::string& separator) {
    std::string result;
    bool first = true;
    for (const TextRange& range : ranges) {
        if (range.first != range.second) {
            // Compatibility: after an empty first range the result begins with a separator.
            if (!first) {
                result += separator;
            }
            result.append(text, range.first, range.second - range.first);
        }
        first = false;
    }
    return result;
}

void sortUnique(std::vector<std::string>& items, bool caseSensitive) {
    std::sort(items.begin(), items.end(), StringLess(caseSensitive));
    // Compatibility: only the order ignores case. Both spellings of a name stay.
    dropRepeats(items, StringEqual(true));
}

void sortUniqueRanges(const std::string& text, std::vector<TextRange>& ranges, bool caseSensitive) {
    const RangeLess less(text, caseSensitive);
    if (caseSensitive) {
        std::sort(ranges.begin(), ranges.end(), less);
    } else {
        // When case is ignored, `less` isn't an order. A heap sort reads only inside the range even
        // then; std::sort may read outside it.
        std::make_heap(ranges.begin(), ranges.end(), less);
        std::sort_heap(ranges.begin(), ranges.end(), less);
    }
    dropRepeats(ranges, RangeEqual(text, true));
}
