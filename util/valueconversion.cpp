#include "util/valueconversion.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string_view>

#include "util/cruntime.h"
#include "util/processlocale.h"
#include "util/stringcompare.h"

namespace {

struct BoolWord {
    std::string_view text;
    bool value;
};

constexpr BoolWord boolWords[] = {{"1", true},  {"t", true},    {"y", true},    {"yes", true},
                                  {"on", true}, {"true", true}, {"0", false},   {"f", false},
                                  {"n", false}, {"no", false},  {"off", false}, {"false", false}};

/// Stores the number at the start of a terminated text. Returns whether the number ends `length`
/// characters after that start.
bool parseTerminated(const char* text, size_t length, int* value) {
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    if (value != nullptr) {
        // A long is as wide as an int on one platform and wider on another.
        *value = static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
    }
    return static_cast<size_t>(end - text) == length;
}

}  // namespace

bool parseBool(StringSpan text, bool* value) {
    for (const BoolWord& word : boolWords) {
        if (equalsNoCase(word.text, text)) {
            *value = word.value;
            return true;
        }
    }
    return false;
}

bool parseInt(StringSpan text, int* value) {
    // strtol stops at a terminator only, and the span needn't have one.
    const std::string terminated(text.view());
    return parseTerminated(terminated.c_str(), terminated.size(), value);
}

bool parseInt(const char* text, int length, int* value) {
    return parseTerminated(text, length < 1 ? std::strlen(text) : static_cast<size_t>(length),
                           value);
}

std::string doubleToString(double value, int precision) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::setprecision(precision) << value;
    return stream.str();
}

int parsePlatform(const char* name) {
    if (name == nullptr) {
        return platformNone;
    }
    if (cruntime::stricmp(name, "windows") == 0) {
        return platformWindows;
    }
    if (cruntime::stricmp(name, "solaris") == 0) {
        return platformSolaris;
    }
    if (cruntime::stricmp(name, "solarisx86") == 0) {
        return platformSolarisX86;
    }
    if (cruntime::stricmp(name, "linux") == 0) {
        return platformLinux;
    }
    return platformUnknown;
}

StringSpan buildPlatform() { return "i686_win64"; }

std::string narrowText(const std::wstring& text, char replacement, const std::locale& locale) {
    std::string result(text.size(), '\0');
    std::use_facet<std::ctype<wchar_t>>(locale).narrow(text.data(), text.data() + text.size(),
                                                       replacement, result.data());
    return result;
}

std::ostream& operator<<(std::ostream& stream, const std::wstring& text) {
    return stream << narrowText(text, '?', processLocale());
}
