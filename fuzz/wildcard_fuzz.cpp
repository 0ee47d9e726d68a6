// The matchers of patterns. Input: a line with the pattern, and the text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/wildcard.h"

namespace {

constexpr size_t longest = 96;

// The process-wide locale is "C" here.
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; }

/// The documented rules of the matcher, by trial: a star tries everything that it could match.
class Model {
public:
    Model(std::string pattern, std::string text, bool literalBrackets, bool caseSensitive)
        : mPattern(std::move(pattern)),
          mText(std::move(text)),
          mLiteralBrackets(literalBrackets),
          mHasFailed((mPattern.size() + 1) * (mText.size() + 1)) {
        if (!caseSensitive) {
            for (std::string* const characters : {&mPattern, &mText}) {
                std::transform(characters->begin(), characters->end(), characters->begin(), lower);
            }
        }
    }

    bool matches(size_t p, size_t t) {
        while (p < mPattern.size() && t < mText.size()) {
            if (mPattern[p] == '*') {
                return starMatches(p + 1, t);
            }
            if (!takeSingle(p, mText[t])) {
                return false;
            }
            ++t;
        }
        return t == mText.size() && (p == mPattern.size() || mPattern.substr(p) == "*");
    }

private:
    /// Tries what follows a star, at `p`, at each character of the text. Tries no place twice,
    /// which doesn't change the result.
    bool starMatches(size_t p, size_t t) {
        if (p == mPattern.size()) {
            return true;
        }
        for (; t < mText.size(); ++t) {
            const size_t place = p * (mText.size() + 1) + t;
            if (!mHasFailed[place] && matches(p, t)) {
                return true;
            }
            mHasFailed[place] = true;
        }
        return false;
    }

    /// Moves `p` past what matches the character.
    bool takeSingle(size_t& p, char c) const {
        const char wanted = mPattern[p];
        if (wanted == '[' && !mLiteralBrackets) {
            return takeClass(p, c);
        }
        if (wanted == '\\') {
            p += 2;
            return p <= mPattern.size() && mPattern[p - 1] == c;
        }
        ++p;
        return wanted == '?' || wanted == c;
    }

    bool takeClass(size_t& p, char c) const {
        const size_t first = p + 1;
        const char sign = charAt(first);
        const bool isNegated = sign == '^' || sign == '!';
        const size_t members = isNegated ? first + 1 : first;
        const size_t closing = mPattern.find(']', members);
        if (closing == std::string::npos) {
            return false;
        }
        p = closing + 1;
        const std::string inside = mPattern.substr(members, closing - members);
        return isNegated ? !isExcluded(inside, c) : isIncluded(inside, c);
    }

    static bool isRange(const std::string& members, size_t i) {
        return i + 2 < members.size() && members[i + 1] == '-' &&
               static_cast<signed char>(members[i]) < static_cast<signed char>(members[i + 2]);
    }
    static bool isBetween(char c, char low, char high) {
        return static_cast<signed char>(c) >= static_cast<signed char>(low) &&
               static_cast<signed char>(c) <= static_cast<signed char>(high);
    }

    /// A range is finished with its end.
    static bool isIncluded(const std::string& members, char c) {
        for (size_t i = 0; i < members.size(); ++i) {
            if (members[i] == c) {
                return true;
            }
            if (isRange(members, i)) {
                if (isBetween(c, members[i], members[i + 2])) {
                    return true;
                }
                i += 2;
            }
        }
        return false;
    }

    /// The end of a range may begin another range; a member before a `-` counts only as part of its
    /// range.
    static bool isExcluded(const std::string& members, char c) {
        for (size_t i = 0; i < members.size(); ++i) {
            const bool isBeforeDash = i + 1 < members.size() && members[i + 1] == '-';
            if (members[i] == c && !isBeforeDash) {
                return true;
            }
            if (isRange(members, i)) {
                if (isBetween(c, members[i], members[i + 2])) {
                    return true;
                }
                ++i;
            }
        }
        return false;
    }

    char charAt(size_t index) const { return index < mPattern.size() ? mPattern[index] : '\0'; }

    std::string mPattern;
    std::string mText;
    bool mLiteralBrackets;
    std::vector<bool> mHasFailed;
};

void checkWildcards(const std::string& pattern, const std::string& text) {
    const ExactText exactPattern(pattern);
    const ExactText exactText(text);
    for (const bool literalBrackets : {false, true}) {
        for (const bool caseSensitive : {false, true}) {
            Model model(pattern, text, literalBrackets, caseSensitive);
            // Starts at the ends, at the middles and at the starts.
            for (const size_t part : {0U, 1U, 2U}) {
                const size_t p = pattern.size() - pattern.size() * part / 2;
                const size_t t = text.size() - text.size() * part / 2;
                NB_ASSERT(wildcardMatch(exactPattern.span(), exactText.span(), literalBrackets,
                                        caseSensitive, p, t) == model.matches(p, t));
            }
        }
    }
    NB_ASSERT(wildcardMatch(exactPattern.span(), exactText.span()) ==
              Model(pattern, text, false, false).matches(0, 0));
    // The text with each character escaped matches only itself, case included.
    std::string escaped;
    for (const char c : text) {
        escaped += {'\\', c};
    }
    NB_ASSERT(wildcardMatch(escaped, text, false, true, 0, 0));
    NB_ASSERT(wildcardMatch(escaped, pattern, false, true, 0, 0) == (pattern == text));
}

// When case is ignored, a NUL in both ends the comparison of two texts of equal length.
bool areEqual(const std::string& a, const std::string& b, bool exact) {
    if (a.size() != b.size() || exact) {
        return a == b;
    }
    for (size_t i = 0; i < a.size() && (a[i] != '\0' || b[i] != '\0'); ++i) {
        if (lower(a[i]) != lower(b[i])) {
            return false;
        }
    }
    return true;
}

void checkStem(const std::string& pattern, const std::string& base, TextRange range, bool exact) {
    const char wildcard = pattern.find('%') != std::string::npos ? '%' : '*';
    const std::string text = base.substr(range.first, range.second - range.first);
    const size_t place = pattern.find(wildcard);
    const TextRange before = {17, 4};
    TextRange expected = before;
    bool doesMatch = false;
    if (place == std::string::npos) {
        doesMatch = areEqual(pattern, text, exact);
        expected = doesMatch ? range : before;
    } else {
        const std::string suffix = pattern.substr(place + 1);
        // Tries every length of the stem. At most one leaves as many characters as the pattern has.
        for (size_t length = 0; length <= text.size() && place + length <= text.size(); ++length) {
            if (areEqual(pattern.substr(0, place), text.substr(0, place), exact) &&
                areEqual(suffix, text.substr(place + length), exact)) {
                NB_ASSERT(!doesMatch);
                doesMatch = true;
                expected = {range.first + place, range.first + place + length};
            }
        }
    }
    TextRange stem = before;
    const ExactText exactPattern(pattern);
    const ExactText exactBase(base);
    NB_ASSERT(matchStem(exactPattern.span(), exactBase.span(), range, wildcard, &stem, exact) ==
              doesMatch);
    NB_ASSERT(stem == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string pattern = takeLine(rest).substr(0, longest);
    const std::string text(rest.substr(0, longest));

    checkWildcards(pattern, text);
    for (const bool exact : {false, true}) {
        checkStem(pattern, text, {0, text.size()}, exact);
        checkStem(pattern, text, {text.size() / 3, text.size()}, exact);
        checkStem(pattern, text, {0, text.size() / 2}, exact);
    }
    return 0;
}
