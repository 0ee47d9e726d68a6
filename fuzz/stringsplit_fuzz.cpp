// Splitting and joining. Input: a line of delimiters, a line of quotes, and the text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/stringutilities.h"

namespace {

using Ranges = std::vector<TextRange>;
using Words = std::vector<std::string>;

bool contains(const std::string& set, char c) { return set.find(c) != std::string::npos; }

Words copies(const std::string& text, const Ranges& ranges) {
    Words words;
    for (const TextRange& range : ranges) {
        NB_ASSERT(range.first <= range.second && range.second <= text.size());
        words.push_back(text.substr(range.first, range.second - range.first));
    }
    return words;
}

// Returns all pieces of the text except an empty one at either end. Without `keepEmpty`, leaves out
// all empty pieces.
Ranges expectedRanges(const std::string& text, const std::string& delimiters, bool keepEmpty) {
    Words pieces;
    boost::split(pieces, text, boost::is_any_of(delimiters));
    Ranges out;
    size_t begin = 0;
    for (size_t i = 0; i < pieces.size(); ++i) {
        const size_t end = begin + pieces[i].size();
        const bool atAnEnd = i == 0 || i + 1 == pieces.size();
        if (begin != end || (keepEmpty && !atAnEnd)) {
            out.emplace_back(begin, end);
        }
        begin = end + 1;  // after the one delimiter between two pieces
    }
    return out;
}

Ranges checkedRanges(const std::string& text, const std::string& delimiters, bool keepEmpty) {
    Ranges ranges;
    splitRanges(text, ranges, delimiters, keepEmpty);
    NB_ASSERT(ranges == expectedRanges(text, delimiters, keepEmpty));
    return ranges;
}

void checkRuns(const std::string& text, const std::string& delimiters) {
    Ranges runs;
    splitRuns(text, runs, delimiters);
    size_t covered = 0;
    for (const TextRange& run : runs) {
        NB_ASSERT(run.first == covered && run.second > run.first && run.second <= text.size());
        const bool delimiting = contains(delimiters, text[run.first]);
        NB_ASSERT(run.first == 0 || contains(delimiters, text[run.first - 1]) != delimiting);
        for (size_t i = run.first; i < run.second; ++i) {
            NB_ASSERT(contains(delimiters, text[i]) == delimiting);
        }
        covered = run.second;
    }
    NB_ASSERT(covered == text.size());
    NB_ASSERT(joinRanges(text, runs, "") == text);
}

void checkJoin(const std::string& text, const Ranges& tokens, const std::string& delimiters) {
    std::string bare = text;
    bare.erase(
        std::remove_if(bare.begin(), bare.end(), [&](char c) { return contains(delimiters, c); }),
        bare.end());
    NB_ASSERT(joinRanges(text, tokens, "") == bare);
    if (!delimiters.empty()) {
        Words again;
        split(joinRanges(text, tokens, delimiters), again, delimiters);
        NB_ASSERT(again == copies(text, tokens));
    }
}

// Tokens are in the text in their order, without overlap.
void checkOrder(const std::string& text, const Words& tokens) {
    size_t from = 0;
    for (const std::string& token : tokens) {
        const size_t at = text.find(token, from);
        NB_ASSERT(at != std::string::npos);
        from = at + token.size();
    }
}

void checkQuoted(const std::string& text, const std::string& delimiters,
                 const std::string& quotes) {
    Words whole;
    Words stripped;
    const bool closed = splitQuoted(text, whole, delimiters, quotes, false);
    NB_ASSERT(splitQuoted(text, stripped, delimiters, quotes, true) == closed);
    NB_ASSERT(whole.size() == stripped.size());
    checkOrder(text, whole);
    checkOrder(text, stripped);
    for (size_t i = 0; i < whole.size(); ++i) {
        NB_ASSERT(!whole[i].empty() && !contains(delimiters, whole[i].front()));
        const bool isQuoted = contains(quotes, whole[i].front());
        NB_ASSERT(stripped[i] == (isQuoted ? whole[i].substr(1, whole[i].size() - 2) : whole[i]));
    }
    if (text.find_first_of(quotes) == std::string::npos) {
        Words plain;
        split(text, plain, delimiters);
        NB_ASSERT(closed && whole == plain);
    }
}

void checkCollapse(const std::string& text) {
    std::string collapsed = text;
    collapseWhitespace(collapsed);
    Ranges words;
    splitRanges(text, words, "\v\f\r\n\t ", false);
    NB_ASSERT(collapsed == joinRanges(text, words, " "));
}

// Returns what RangeEqual compares: the length, and the characters up to a NUL.
std::set<std::pair<std::string, size_t>> contents(const std::string& text, const Ranges& ranges) {
    std::set<std::pair<std::string, size_t>> out;
    for (const std::string& word : copies(text, ranges)) {
        out.emplace(word.c_str(), word.size());
    }
    return out;
}

void checkSort(const std::string& text, const Ranges& ranges, bool caseSensitive) {
    Ranges sorted = ranges;
    sortUniqueRanges(text, sorted, caseSensitive);
    NB_ASSERT(contents(text, sorted) == contents(text, ranges));
    if (caseSensitive) {
        const RangeLess less(text, true);
        NB_ASSERT(std::adjacent_find(sorted.begin(), sorted.end(),
                                     [&](const TextRange& a, const TextRange& b) {
                                         return !less(a, b);
                                     }) == sorted.end());
    }
    // The remaining ranges are among the original ones.
    std::sort(sorted.begin(), sorted.end());
    NB_ASSERT(std::includes(ranges.begin(), ranges.end(), sorted.begin(), sorted.end()));

    const Words all = copies(text, ranges);
    Words items = all;
    sortUnique(items, caseSensitive);
    const StringLess less(caseSensitive);
    // Each is less than the next: the items are in order, without duplicates.
    NB_ASSERT(std::adjacent_find(items.begin(), items.end(), [&](const auto& a, const auto& b) {
                  return !less(a, b);
              }) == items.end());
    for (const std::string& item : all) {
        NB_ASSERT(std::binary_search(items.begin(), items.end(), item, less));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string delimiters = takeLine(rest);
    const std::string quotes = takeLine(rest);
    const std::string text(rest);

    const Ranges withEmpty = checkedRanges(text, delimiters, true);
    const Ranges tokens = checkedRanges(text, delimiters, false);
    const Words words = copies(text, tokens);
    Words splitWords;
    split(text, splitWords, delimiters);
    NB_ASSERT(splitWords == words);
    std::set<std::string> wordSet;
    split(text, wordSet, delimiters);
    NB_ASSERT(wordSet == std::set<std::string>(words.begin(), words.end()));

    checkRuns(text, delimiters);
    checkJoin(text, tokens, delimiters);
    checkQuoted(text, delimiters, quotes);
    checkCollapse(text);
    checkSort(text, withEmpty, true);
    checkSort(text, withEmpty, false);
    return 0;
}
