#include "tools/ccquery/letterdistance.h"

#include <algorithm>
#include <utility>

#include <boost/container/small_vector.hpp>

namespace ccquery {
namespace {

using Letters = boost::container::small_vector<std::string_view, 64>;
using Row = boost::container::small_vector<size_t, 64>;

bool continuesLetter(char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; }

/// Appends the letters of `text`. A letter has at most four bytes.
void splitLetters(std::string_view text, Letters& letters) {
    while (!text.empty()) {
        size_t length = 1;
        const bool isAscii = static_cast<unsigned char>(text[0]) < 0x80U;
        while (!isAscii && length < std::min<size_t>(text.size(), 4) &&
               continuesLetter(text[length])) {
            ++length;
        }
        letters.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
}

/// Removes the equal letters at both ends.
void removeEqualEnds(Letters& a, Letters& b) {
    while (!a.empty() && !b.empty() && a.back() == b.back()) {
        a.pop_back();
        b.pop_back();
    }
    const auto differing = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    a.erase(a.begin(), differing.first);
    b.erase(b.begin(), differing.second);
}

}  // namespace

size_t letterDistance(std::string_view a, std::string_view b, size_t limit) {
    Letters from;
    Letters to;
    splitLetters(a, from);
    splitLetters(b, to);
    const size_t tooFar = limit + 1;
    if (std::max(from.size(), to.size()) - std::min(from.size(), to.size()) > limit) {
        return tooFar;
    }
    removeEqualEnds(from, to);
    // Row i has the distances between the first i letters of one and the first j of the other. A
    // distance above the limit is stored as `tooFar`, as all are that are more than `limit` from
    // the diagonal.
    Row beforeLast(to.size() + 1, tooFar);
    Row last(to.size() + 1, tooFar);
    for (size_t j = 0; j <= std::min(limit, to.size()); ++j) {
        last[j] = j;
    }
    for (size_t i = 1; i <= from.size(); ++i) {
        Row row(to.size() + 1, tooFar);
        size_t least = tooFar;
        for (size_t j = i - std::min(i, limit); j <= std::min(i + limit, to.size()); ++j) {
            size_t steps = last[j] + 1;
            if (j > 0) {
                const size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
                steps = std::min({steps, row[j - 1] + 1, replaced});
            }
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
                steps = std::min(steps, beforeLast[j - 2] + 1);
            }
            row[j] = std::min(steps, tooFar);
            least = std::min(least, row[j]);
        }
        if (least == tooFar) {
            return tooFar;
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

}  // namespace ccquery
