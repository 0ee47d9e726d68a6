#include "util/substring.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "util/assertion.h"
#include "util/characterset.h"
#include "util/stringcompare.h"

namespace {

constexpr CharacterSet blanks(" \t");

bool isBlank(char c) { return blanks.contains(c); }

int lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }

/// Returns how many `c` are directly before `place`. Goes back no further than `start`.
size_t runBefore(std::string_view text, size_t start, size_t place, char c) {
    size_t first = place;
    while (first > start && text[first - 1] == c) {
        --first;
    }
    return place - first;
}

/// Returns where the repeats of the two characters before `at` end. Advances 32 characters at a
/// time, so the last repeats may be left out.
size_t endOfRepeats(std::string_view text, size_t at) {
    constexpr size_t step = 32;
    while (text.size() - at >= step &&
           std::memcmp(text.data() + at, text.data() + at - 2, step) == 0) {
        at += step;
    }
    return at;
}

/// Removes characters from a text from front to back, and moves each of the others at most once.
/// Characters that aren't kept or skipped yet stay where they are.
class Removal {
public:
    Removal(char* text, size_t start) : mText(text), mKept(start), mNext(start) {}

    void keepUpTo(size_t place) {
        if (mKept != mNext) {
            std::memmove(mText + mKept, mText + mNext, place - mNext);
        }
        mKept += place - mNext;
        mNext = place;
    }
    void skip(size_t count) { mNext += count; }
    /// Replaces what is before `place` with `count` times `c`, which is no longer.
    void fillUpTo(size_t place, size_t count, char c) {
        std::memset(mText + mKept, c, count);
        mKept += count;
        mNext = place;
    }

    /// The gap after the kept characters.
    size_t begin() const { return mKept; }
    size_t size() const { return mNext - mKept; }

private:
    char* mText;
    size_t mKept;  ///< the end of the kept characters
    size_t mNext;  ///< where the rest begins
};

}  // namespace

char Substring::operator[](size_t index) const {
    NB_ASSERT_AS(index < length(), "index < ( mEnd - mStart )");
    return (*mString)[mStart + index];
}

void Substring::trim() {
    trimLeft();
    mEnd = text().size();
    while (length() != 0 && isBlank((*mString)[mEnd - 1])) {
        --mEnd;
    }
}

void Substring::trimLeft() {
    mStart = blanks.findNotIn(text(), mStart);
    if (mStart >= text().size()) {
        collapse();
    }
}

size_t Substring::findFirstOf(const std::string& set, size_t pos) const {
    return pos >= length() ? std::string::npos
                           : hit(CharacterSet(set).findIn(text(), mStart + pos));
}

size_t Substring::findFirstNotOf(const std::string& set, size_t pos) const {
    if (pos >= length()) {
        return std::string::npos;
    }
    // The next character usually ends the search. Neither making a CharacterSet nor calling a
    // search that checks many characters at once pays off here.
    const std::string_view whole = text();
    const auto isInSet = [&set](char c) {
        return std::find(set.begin(), set.end(), c) != set.end();
    };
    const auto place = std::find_if_not(whole.begin() + mStart + pos, whole.end(), isInSet);
    return hit(static_cast<size_t>(place - whole.begin()));
}

size_t Substring::find(char c, size_t pos) const {
    return pos >= length() ? std::string::npos : hit(text().find(c, mStart + pos));
}

size_t Substring::find(const std::string& wanted, size_t pos) const {
    // Compatibility: an empty text is never found, unlike in std::string; this ends loops over
    // hits.
    return pos >= length() || wanted.empty() ? std::string::npos
                                             : hit(text().find(wanted, mStart + pos));
}

size_t Substring::findUnescaped(const std::string& set, size_t pos, char escape) const {
    if (pos >= length()) {
        return std::string::npos;
    }
    const CharacterSet wanted(set);
    const size_t start = mStart + pos;
    size_t place = wanted.findIn(text(), start);
    while (place < text().size() && runBefore(text(), start, place, escape) % 2 != 0) {
        place = wanted.findIn(text(), place + 1);
    }
    return hit(place);
}

size_t Substring::findAndUnescape(const std::string& set, size_t pos) {
    if (pos >= length()) {
        return std::string::npos;
    }
    const CharacterSet wanted(set);
    size_t start = mStart + pos;
    const std::string_view whole = text();  // as it was, from `start` on
    Removal removal(mString->data(), start);
    size_t found = std::string::npos;
    for (size_t place = wanted.findIn(whole, start); place < whole.size();
         place = wanted.findIn(whole, start)) {
        if (place == start && whole[place] == '\\' && whole.substr(place + 1, 1) == "\\") {
            // The set contains the backslash: these backslashes escape what ends their run.
            place = std::min(whole.find_first_not_of('\\', place), whole.size());
        }
        const size_t run = runBefore(whole, start, place, '\\');
        removal.keepUpTo(place - run);
        removal.skip((run + 1) / 2);
        if (run % 2 == 0) {
            found = place - removal.size();
            break;
        }
        start = place + 1;  // after the character, which was escaped
        // A text that repeats one escape is the worst case; this is faster than pair by pair.
        const size_t end = run == 1 ? endOfRepeats(whole, start) : start;
        if (end != start) {
            removal.fillUpTo(end, 1 + (end - start) / 2, whole[place]);
            start = end;
        }
    }
    if (removal.size() != 0) {
        mString->erase(removal.begin(), removal.size());
        mEnd -= removal.size();
    }
    return hit(found);
}

bool Substring::erase(size_t pos, size_t count) {
    if (pos >= length() || count > length() - pos) {
        return false;
    }
    mString->erase(mStart + pos, count);
    mEnd -= count;
    return true;
}

bool Substring::eraseFrom(size_t pos) {
    if (pos >= length()) {
        return false;
    }
    return erase(pos, length() - pos);
}

bool Substring::equals(const Substring& other) const { return equalsExact(span(), other.span()); }

bool Substring::equals(const std::string& wanted) const { return equalsExact(span(), wanted); }

bool Substring::equalsNoCase(const Substring& other) const {
    return ::equalsNoCase(span(), other.span());
}

bool Substring::startsWithWord(const std::string& word, size_t* next) const {
    const size_t start = blanks.findNotIn(text(), mStart);
    const std::string_view rest = text().substr(std::min(start, text().size()));
    const bool isThere = rest.size() >= word.size() && !rest.empty() &&
                         std::equal(word.begin(), word.end(), rest.begin(),
                                    [](char a, char b) { return lower(a) == lower(b); });
    if (!isThere || (rest.size() > word.size() && !isBlank(rest[word.size()]))) {
        return false;
    }
    *next = blanks.findNotIn(text(), start + word.size()) - mStart;
    return true;
}

bool Substring::eatWord(const std::string& word) {
    size_t next = 0;
    if (!startsWithWord(word, &next)) {
        return false;
    }
    // Compatibility: `next` counts from the start of this part but is used as an index into the
    // whole text. So a part that doesn't start at 0 moves too little, or backwards.
    mStart = next;
    if (mStart == mEnd) {
        collapse();
    }
    return true;
}

void splitEscaped(const Substring& whole, std::vector<Substring>& out,
                  const std::string& delimiters) {
    const Substring text = whole;  // which may be an element of `out`
    size_t pos = text.findFirstNotOf(delimiters, 0);
    while (pos != std::string::npos) {
        const size_t end = std::min(text.findUnescaped(delimiters, pos, '\\'), text.length());
        out.push_back(text.part(pos, end - pos));
        pos = text.findFirstNotOf(delimiters, end);
    }
}
