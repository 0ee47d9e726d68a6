// Views of a string. Input: a line of characters (the set to search for), a line with a word, a
// line that is before the view and one that is after it, and the text of the view.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/substring.h"

namespace {

constexpr size_t longest = 32;
constexpr size_t none = std::string::npos;

/// The contents of the string, and the arguments of the operations.
struct Input {
    std::string set, word, head, tail, text;

    std::string whole() const { return head + text + tail; }
    Substring view(std::string& string) const { return {string, head.size(), text.size()}; }
};

bool contains(const std::string& set, char c) { return set.find(c) != none; }

std::string textOf(const Substring& part) { return std::string(part.span().view()); }

/// Returns the first character of the set, from `pos` on, with no odd run of escapes before it.
size_t expectedUnescaped(const std::string& text, const std::string& set, size_t pos, char escape) {
    bool isEscaped = false;
    for (size_t i = pos; i < text.size(); ++i) {
        if (contains(set, text[i]) && !isEscaped) {
            return i;
        }
        isEscaped = text[i] == escape && !isEscaped;
    }
    return none;
}

void checkSearches(const Input& input) {
    const std::string& text = input.text;
    std::string whole = input.whole();
    const Substring view = input.view(whole);
    for (size_t pos = 0; pos <= text.size() + 1; ++pos) {
        NB_ASSERT(view.findFirstOf(input.set, pos) == text.find_first_of(input.set, pos));
        NB_ASSERT(view.findFirstNotOf(input.set, pos) == text.find_first_not_of(input.set, pos));
        NB_ASSERT(view.find(input.word, pos) ==
                  (input.word.empty() ? none : text.find(input.word, pos)));
        for (const char c : {'\\', input.set.empty() ? ';' : input.set.front()}) {
            NB_ASSERT(view.find(c, pos) == text.find(c, pos));
            NB_ASSERT(view.findUnescaped(input.set, pos, c) ==
                      expectedUnescaped(text, input.set, pos, c));
        }
        NB_ASSERT(pos >= text.size() || view[pos] == text[pos]);
    }
    NB_ASSERT(textOf(view) == text && whole == input.whole());
}

/// Removes escapes, character by character, up to the first character of the set that isn't
/// escaped. The set has no backslash.
size_t unescapePlain(std::string& text, const std::string& set, size_t pos) {
    std::string out = text.substr(0, std::min(pos, text.size()));
    size_t run = 0;
    for (size_t i = out.size(); i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++run;
            continue;
        }
        const bool isWanted = contains(set, text[i]);
        out.append(isWanted ? run / 2 : run, '\\');
        if (isWanted && run % 2 == 0) {
            const size_t found = out.size();
            text.replace(0, i, out);
            return found;
        }
        out += text[i];
        run = 0;
    }
    text = out.append(run, '\\');
    return none;
}

/// The same for any set, by the rules step by step: each hit erases from the text at once.
size_t unescapeSteps(std::string& text, const std::string& set, size_t pos) {
    size_t start = pos;
    for (;;) {
        size_t hit = text.find_first_of(set, start);
        if (hit == none) {
            return none;
        }
        if (hit == start && text.compare(hit, 2, "\\\\") == 0) {
            hit = std::min(text.find_first_not_of('\\', hit), text.size());
        }
        size_t run = 0;
        while (hit - run > start && text[hit - run - 1] == '\\') {
            ++run;
        }
        text.erase(hit - run, (run + 1) / 2);
        hit -= run / 2;
        if (run % 2 == 0) {
            return hit < text.size() ? hit : none;
        }
        start = hit;
    }
}

void checkUnescapingFrom(const Input& input, size_t pos) {
    std::string expected = input.text;
    const size_t place = unescapeSteps(expected, input.set, pos);
    if (!contains(input.set, '\\')) {
        std::string plain = input.text;
        NB_ASSERT(unescapePlain(plain, input.set, pos) == place);
        NB_ASSERT(plain == expected);
    }
    std::string whole = input.whole();
    Substring view = input.view(whole);
    const size_t found = view.findAndUnescape(input.set, pos);
    NB_ASSERT(found == place);
    NB_ASSERT(whole == input.head + expected + input.tail);
    NB_ASSERT(textOf(view) == expected);
    NB_ASSERT(found == none || (found >= pos && found < view.length()));
    // Unless the set has a backslash, a hit is in the set.
    NB_ASSERT(found == none || contains(input.set, '\\') || contains(input.set, view[found]));
}

void checkUnescaping(const Input& input) {
    for (size_t pos = 0; pos <= input.text.size(); ++pos) {
        checkUnescapingFrom(input, pos);
    }
    // The text repeated many times, which may be one escape repeated.
    Input repeated = input;
    for (int i = 0; i < 20; ++i) {
        repeated.text += input.text;
    }
    for (const size_t pos : {size_t{0}, size_t{1}, input.text.size()}) {
        if (pos < repeated.text.size()) {
            checkUnescapingFrom(repeated, pos);
        }
    }
}

void checkErasing(const Input& input, size_t pos, size_t count) {
    const std::string& text = input.text;
    std::string whole = input.whole();
    Substring view = input.view(whole);
    const bool fits = pos < text.size() && count <= text.size() - pos;
    NB_ASSERT(view.erase(pos, count) == fits);
    NB_ASSERT(textOf(view) == (fits ? text.substr(0, pos) + text.substr(pos + count) : text));
    NB_ASSERT(whole == input.head + textOf(view) + input.tail);

    const std::string left = textOf(view);
    NB_ASSERT(view.eraseFrom(pos) == (pos < left.size()));
    NB_ASSERT(textOf(view) == left.substr(0, pos));
    NB_ASSERT(whole == input.head + textOf(view) + input.tail);
}

void checkTrimming(const Input& input) {
    const auto isBlank = boost::is_any_of(" \t");
    std::string whole = input.whole();
    Substring both = input.view(whole);
    Substring left = both;
    both.trim();
    left.trimLeft();
    NB_ASSERT(textOf(both) == boost::trim_copy_if(input.text, isBlank));
    NB_ASSERT(textOf(left) == boost::trim_left_copy_if(input.text, isBlank));
    for (const Substring& trimmed : {both, left}) {
        NB_ASSERT(trimmed.length() != 0 || trimmed.span().data == whole.data());
    }
    NB_ASSERT(whole == input.whole());
}

std::string folded(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
    }
    return text;
}

/// Returns where a text continues after a word and its blanks; npos if it doesn't begin with the
/// word.
size_t expectedAfterWord(const std::string& text, const std::string& word) {
    const size_t start = text.find_first_not_of(" \t");
    if (word.empty() || start == none) {
        return none;
    }
    const std::string front = folded(text.substr(start, word.size()));
    const size_t end = start + word.size();
    if (front != folded(word) || (end != text.size() && !contains(" \t", text[end]))) {
        return none;
    }
    return std::min(text.find_first_not_of(" \t", end), text.size());
}

void checkWord(const Input& input) {
    std::string whole = input.whole();
    const Substring view = input.view(whole);
    const size_t expected = expectedAfterWord(input.text, input.word);
    size_t next = 17;
    NB_ASSERT(view.startsWithWord(input.word, &next) == (expected != none));
    NB_ASSERT(next == (expected != none ? expected : 17));

    std::string text = input.text + input.tail;
    Substring eaten(text, 0, input.text.size());
    NB_ASSERT(eaten.eatWord(input.word) == (expected != none));
    NB_ASSERT(textOf(eaten) == (expected != none ? input.text.substr(expected) : input.text));
    NB_ASSERT(text == input.text + input.tail);
}

void checkEquality(const Input& input) {
    std::string whole = input.whole();
    std::string word = input.word;
    const Substring view = input.view(whole);
    const Substring other(word);
    NB_ASSERT(view.equals(other) == (input.text == input.word));
    NB_ASSERT(view.equals(input.word) == (input.text == input.word));
    NB_ASSERT(view.equals(input.text));
    // The comparison of the C runtime ends at a NUL that both have.
    if (!contains(input.text, '\0') || !contains(input.word, '\0')) {
        NB_ASSERT(view.equalsNoCase(other) == (folded(input.text) == folded(input.word)));
    }
    std::string lowerCase = folded(input.text);
    NB_ASSERT(view.equalsNoCase(Substring(lowerCase)));
}

std::vector<std::string> expectedParts(const std::string& text, const std::string& delimiters) {
    std::vector<std::string> parts;
    bool isInside = false;
    bool isEscaped = false;
    for (const char c : text) {
        if (contains(delimiters, c) && !isEscaped) {
            isInside = false;
            continue;
        }
        if (!isInside) {
            parts.emplace_back();
            isInside = true;
        }
        parts.back() += c;
        isEscaped = c == '\\' && !isEscaped;
    }
    return parts;
}

void checkSplitting(const Input& input) {
    std::string whole = input.whole();
    std::vector<Substring> parts;
    splitEscaped(input.view(whole), parts, input.set);
    const std::vector<std::string> expected = expectedParts(input.text, input.set);
    NB_ASSERT(parts.size() == expected.size());
    for (size_t i = 0; i < parts.size(); ++i) {
        NB_ASSERT(textOf(parts[i]) == expected[i]);
    }
    NB_ASSERT(whole == input.whole());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    Input input;
    input.set = takeLine(rest);
    input.word = takeLine(rest);
    input.head = takeLine(rest);
    input.tail = takeLine(rest);
    input.text = rest.substr(0, longest);

    checkSearches(input);
    checkUnescaping(input);
    const size_t length = input.text.size();
    for (const size_t pos : {size_t{0}, length / 2, length, none}) {
        for (const size_t count : {size_t{0}, size_t{1}, length - length / 2, length, none}) {
            checkErasing(input, pos, count);
        }
    }
    checkTrimming(input);
    checkWord(input);
    checkEquality(input);
    checkSplitting(input);
    return 0;
}
