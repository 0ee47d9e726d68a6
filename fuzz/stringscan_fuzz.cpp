// Scanners for quotes, escapes and fields. Input: a line of characters (the set to search for; its
// first two are a delimiter and an escape), and the text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/stringutilities.h"

namespace {

void checkNextArgument(const std::string& text) {
    const char* const line = text.c_str();
    const char* const end = line + std::strlen(line);
    for (const char* place = line; place != end;) {
        const char* const next = nextArgument(place);
        NB_ASSERT(next > place && next <= end);
        NB_ASSERT(next == end || (next[-1] == ' ' && *next != ' '));
        place = next;
    }
    NB_ASSERT(nextArgument(end) == end);
}

// Words without quotes and backslashes come back from the command line unchanged.
void checkQuotedWords(const std::string& text) {
    std::vector<std::string> words;
    split(text, words, std::string("\"\\\n\0", 4));
    std::vector<const char*> vector;
    vector.reserve(words.size() + 1);
    for (const std::string& word : words) {
        vector.push_back(word.c_str());
    }
    vector.push_back(nullptr);
    std::string commandLine;
    appendQuotedWords(vector.data(), commandLine);

    const char* place = commandLine.c_str();
    for (const std::string& word : words) {
        const char* const next = nextArgument(place);
        const std::string_view argument(place, static_cast<size_t>(next - place));
        NB_ASSERT(argument == word + ' ' || argument == '"' + word + "\" ");
        place = next;
    }
    NB_ASSERT(*place == '\0');
}

// A `c` or a NUL is escaped if the run of escape characters directly before it has odd length.
const char* expectedUnescaped(const std::string& text, char c, char esc) {
    const std::string wanted = {c, '\0'};
    size_t at = text.find_first_of(wanted);
    for (; at != std::string::npos; at = text.find_first_of(wanted, at + 1)) {
        const size_t runStart = at == 0 ? 0 : text.find_last_not_of(esc, at - 1) + 1;
        if ((at - runStart) % 2 == 0) {
            break;
        }
    }
    return text.data() + std::min(at, text.size());
}

void checkFinders(const std::string& text, const std::string& characters) {
    const char* const first = text.data();
    const char* const last = first + text.size();
    const std::string set = characters.substr(0, characters.find('\0'));
    NB_ASSERT(findAnyOf(first, last, set.c_str()) == std::find_if(first, last, [&](char c) {
                  return std::strchr(set.c_str(), c) != nullptr;
              }));
    if (set.size() >= 2 && set[0] != set[1]) {
        const char c = set[0];
        const char esc = set[1];
        NB_ASSERT(findUnescaped(first, last, c, esc) == expectedUnescaped(text, c, esc));
    }
}

void checkFields(const std::string& text, char delimiter) {
    const std::string whole = text.substr(0, text.find('\0'));
    std::string cut = whole;
    std::string joined;
    char* cursor = cut.data();
    while (const char* field = nextField(&cursor, delimiter)) {
        NB_ASSERT(field >= cut.data() && cursor <= cut.data() + cut.size());
        joined += field;
        joined += delimiter;
    }
    NB_ASSERT(cursor == cut.data() + cut.size());
    // Every delimiter comes back, and one more if the text doesn't end with one.
    if (delimiter != '\0') {
        NB_ASSERT(joined == whole || joined == whole + delimiter);
    }
}

void checkNameAndNumber(const std::string& text) {
    std::string name = "before";
    int number = 17;
    splitNameAndNumber(text, name, &number);
    if (name.size() == text.size()) {
        NB_ASSERT(name == text && number == 17);
    } else {
        NB_ASSERT(text[name.size()] == ':' && text.compare(0, name.size(), name) == 0);
        NB_ASSERT(name.find(':') == std::string::npos);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string characters = takeLine(rest);
    const std::string text(rest);

    checkNextArgument(text);
    checkQuotedWords(text);
    checkFinders(text, characters);
    checkFields(text, characters.empty() ? ':' : characters.front());
    checkNameAndNumber(text);
    return 0;
}
