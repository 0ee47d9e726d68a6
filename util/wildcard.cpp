#include "util/wildcard.h"

#include <array>
#include <locale>
#include <string_view>

#include "util/processlocale.h"
#include "util/stringcompare.h"

namespace {

using FoldTable = std::array<char, 256>;

constexpr FoldTable makeIdentity() {
    FoldTable table{};
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<char>(i);
    }
    return table;
}

const FoldTable& foldTable(bool caseSensitive) {
    static constexpr FoldTable identity = makeIdentity();
    const auto makeLower = [] {
        FoldTable table = identity;
        std::use_facet<std::ctype<char>>(processLocale())
            .tolower(table.data(), table.data() + table.size());
        return table;
    };
    static const FoldTable lower = makeLower();  // GCOVR_EXCL_BR_LINE: a second thread meanwhile
    return caseSensitive ? identity : lower;
}

/// The single characters of a pattern: everything but stars.
class SinglePattern {
public:
    SinglePattern(std::string_view pattern, bool literalBrackets, const FoldTable& fold)
        : mPattern(pattern), mLiteralBrackets(literalBrackets), mFold(fold) {}

    char fold(char c) const { return mFold[static_cast<unsigned char>(c)]; }

    /// Returns how many characters of the pattern, from `p` on, match the folded character `c`; 0
    /// if they don't match.
    size_t match(size_t p, char c) const {
        const char wanted = folded(p);
        if (wanted == '?') {
            return 1;
        }
        if (wanted == '[' && !mLiteralBrackets) {
            return matchClass(p, c);
        }
        if (wanted == '\\') {
            return p + 1 < mPattern.size() && folded(p + 1) == c ? 2 : 0;
        }
        return wanted == c ? 1 : 0;
    }

    /// Returns the next place in `text`, from `t` on, where the pattern at `p` can match. If the
    /// pattern has no plain character there, the result may be too early. Returns the text's size
    /// if there is no such place.
    size_t findStart(size_t p, std::string_view text, size_t t) const {
        const char wanted = folded(p);
        if (wanted == '?' || wanted == '[' || wanted == '\\') {
            return t;
        }
        while (t < text.size() && fold(text[t]) != wanted) {
            ++t;
        }
        return t;
    }

private:
    char folded(size_t p) const { return fold(mPattern[p]); }

    /// Whether a range such as a-z begins at `p`.
    bool isRange(size_t p) const {
        return mPattern.size() - p >= 3 && mPattern[p + 1] == '-' && folded(p + 2) != ']' &&
               isBelow(folded(p), folded(p + 2));
    }
    // Characters of a range compare as signed, even where char is unsigned.
    static bool isBelow(char a, char b) {
        return static_cast<signed char>(a) < static_cast<signed char>(b);
    }

    size_t matchClass(size_t start, char c) const;

    std::string_view mPattern;
    bool mLiteralBrackets;
    const FoldTable& mFold;
};

size_t SinglePattern::matchClass(size_t start, char c) const {
    const size_t size = mPattern.size();
    size_t i = start + 1;
    const bool negated = i < size && (mPattern[i] == '^' || mPattern[i] == '!');
    i += negated ? 1 : 0;
    while (i < size) {
        const char member = folded(i);
        if (member == ']') {
            if (!negated) {
                return 0;
            }
            break;
        }
        // Compatibility: in a negated class, a member before a `-` that makes no range doesn't
        // count: "[!a-]" matches "a".
        const bool hasDashAfter = i + 1 < size && mPattern[i + 1] == '-';
        if (member == c && !(negated && hasDashAfter)) {
            if (negated) {
                return 0;
            }
            break;
        }
        if (!isRange(i)) {
            ++i;
        } else if (isBelow(c, member) || isBelow(folded(i + 2), c)) {
            // Compatibility: in a negated class, the end of a range may begin another range:
            // "[!a-c-e]" doesn't match "d", although "[a-c-e]" doesn't match it either.
            i += negated ? 2 : 3;
        } else if (negated) {
            return 0;
        } else {
            break;
        }
    }
    while (i < size && folded(i) != ']') {
        ++i;
    }
    return i < size ? i + 1 - start : 0;
}

}  // namespace

bool wildcardMatch(StringSpan pattern, StringSpan text) {
    return wildcardMatch(pattern, text, /*literalBrackets=*/false, /*caseSensitive=*/false,
                         /*patternIndex=*/0, /*textIndex=*/0);
}

bool wildcardMatch(StringSpan pattern, StringSpan text, bool literalBrackets, bool caseSensitive,
                   size_t patternIndex, size_t textIndex) {
    const SinglePattern single(pattern.view(), literalBrackets, foldTable(caseSensitive));
    constexpr size_t none = static_cast<size_t>(-1);
    size_t p = patternIndex;
    size_t t = textIndex;
    // Only the last star has to be tried at other places. An earlier star leaves the most text to
    // the pattern after it where that pattern matched first.
    size_t afterStar = none;
    size_t starsText = 0;
    for (;;) {
        if (p < pattern.length && t < text.length) {
            if (pattern.data[p] == '*') {
                if (++p == pattern.length) {
                    return true;
                }
                afterStar = p;
                starsText = t;
                continue;
            }
            if (const size_t taken = single.match(p, single.fold(text.data[t]))) {
                p += taken;
                ++t;
                continue;
            }
        } else if (t == text.length && (p == pattern.length ||
                                        // One more star matches the empty rest.
                                        (p + 1 == pattern.length && pattern.data[p] == '*'))) {
            return true;
        }
        // Compatibility: a star that more pattern follows never takes the whole rest of the text:
        // "abc**" doesn't match "abc".
        if (afterStar == none) {
            return false;
        }
        starsText = single.findStart(afterStar, text.view(), starsText + 1);
        if (starsText >= text.length) {
            return false;
        }
        p = afterStar;
        t = starsText;
    }
}

bool matchStem(StringSpan pattern, StringSpan base, TextRange range, char wildcard, TextRange* stem,
               bool exact) {
    const auto equals = [exact](std::string_view a, std::string_view b) {
        return exact ? equalsExact(a, b) : equalsNoCase(StringSpan(a), StringSpan(b));
    };
    const std::string_view wanted = pattern.view();
    const std::string_view text(base.data + range.first, range.second - range.first);
    const size_t before = wanted.find(wildcard);
    if (before == std::string_view::npos) {
        if (!equals(wanted, text)) {
            return false;
        }
        *stem = range;
        return true;
    }
    const size_t after = wanted.size() - before - 1;
    if (text.size() < before + after || !equals(wanted.substr(0, before), text.substr(0, before)) ||
        !equals(wanted.substr(before + 1), text.substr(text.size() - after))) {
        return false;
    }
    *stem = {range.first + before, range.second - after};
    return true;
}
