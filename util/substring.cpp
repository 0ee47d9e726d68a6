#include "util/substring.h"

#include <algorithm>
#include <cctype>

#include "util/assertion.h"
#include "util/characterset.h"
#include "util/stringcompare.h"

namespace {

constexpr CharacterSet blanks(" \t");

bool isBlank(char c) { return blanks.contains(c); }

int lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }

/// How many `c` stand directly before `place`, going back no further than `start`.
size_t runBefore(std::string_view text, size_t start, size_t place, char c) {
    size_t first = place;
    while (first > start && text[first - 1] == c) {
        --first;
    }
    return place - first;
}

}  // namespace

char Substring::operator[](size_t index) const {
    // clang-format off
    NB_ASSERT(index < ( mEnd - mStart ));
    // clang-format on
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
    // The next character mostly ends the search, so that it doesn't pay to make a CharacterSet.
    return pos >= length() ? std::string::npos : hit(text().find_first_not_of(set, mStart + pos));
}

size_t Substring::find(char c, size_t pos) const {
    return pos >= length() ? std::string::npos : hit(text().find(c, mStart + pos));
}

size_t Substring::find(const std::string& wanted, size_t pos) const {
    // Meant: an empty text is nowhere.
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
    for (size_t start = mStart + pos;;) {
        size_t place = wanted.findIn(text(), start);
        if (place >= text().size()) {
            return std::string::npos;
        }
        if (place == start && text()[place] == '\\' && text().substr(place + 1, 1) == "\\") {
            // Backslashes that are wanted themselves: what ends their run is what they escape.
            place = std::min(text().find_first_not_of('\\', place), text().size());
        }
        const size_t run = runBefore(text(), start, place, '\\');
        const size_t surplus = (run + 1) / 2;
        mString->erase(place - run, surplus);
        mEnd -= surplus;
        place -= run / 2;
        if (run % 2 == 0) {
            return hit(place);
        }
        start = place;  // behind the character, which was escaped
    }
}

bool Substring::erase(size_t pos, size_t count) {
    if (pos >= length() || count > length() - pos) {
        return false;
    }
    mString->erase(mStart + pos, count);
    mEnd -= count;
    return true;
}

bool Substring::eraseFrom(size_t pos) { return pos < length() && erase(pos, length() - pos); }

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
    mStart = next;  // meant: an offset taken for an index
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
