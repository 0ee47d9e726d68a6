#include "util/stringedit.h"

#include <algorithm>
#include <cstddef>
#include <locale>

#include "util/characterset.h"
#include "util/processlocale.h"

namespace {

constexpr CharacterSet blanks(" \t\v\f\r\n");
constexpr CharacterSet trimmedLeft(" \t\v\f");
constexpr CharacterSet chomped("\r\n");

void cutFront(std::string& text, const CharacterSet& set) { text.erase(0, set.findNotIn(text, 0)); }

void cutEnd(std::string& text, const CharacterSet& set) {
    size_t end = text.size();
    while (end > 0 && set.contains(text[end - 1])) {
        --end;
    }
    text.resize(end);
}

const std::ctype<char>& characterTypes() {
    return std::use_facet<std::ctype<char>>(processLocale());
}

}  // namespace

void chomp(std::string& text) { cutEnd(text, chomped); }

void trim(std::string& text) {
    cutEnd(text, blanks);
    cutFront(text, blanks);
}

void trimLeft(std::string& text) { cutFront(text, trimmedLeft); }

void toLower(std::string& text) {
    characterTypes().tolower(text.data(), text.data() + text.size());
}

void toUpper(std::string& text) {
    characterTypes().toupper(text.data(), text.data() + text.size());
}

void replaceChar(std::string& text, char from, char to) {
    // Compatibility: a `from` at the end is dropped, so that a folder's path has no trailing
    // separator.
    if (!text.empty() && text.back() == from) {
        text.pop_back();
    }
    std::replace(text.begin(), text.end(), from, to);
}

void blankLineContinuations(std::string& text, int limit) {
    const size_t end =
        limit == noContinuationLimit ? text.size() : static_cast<size_t>(std::max(limit, 0));
    for (size_t at = text.find('\\'); at < end && at + 1 < text.size();
         at = text.find('\\', at + 1)) {
        if (text[at + 1] == '\n') {
            text[at] = ' ';
            text[at + 1] = ' ';
        }
    }
}

void collapseWhitespace(std::string& text) {
    size_t end = 0;  // of the finished part; never past the character that is read
    bool blanksPending = false;
    for (const char c : text) {
        if (blanks.contains(c)) {
            blanksPending = end != 0;
            continue;
        }
        if (blanksPending) {
            text[end++] = ' ';
            blanksPending = false;
        }
        text[end++] = c;
    }
    text.resize(end);
}
