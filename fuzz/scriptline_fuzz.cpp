// The line that runs a script. Input: the command line, the file's name, and the file's bytes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/scriptline.h"

namespace {

/// Splits where the name ends, byte by byte.
NameAndRest splitModel(const std::string& line) {
    const bool isPaired = std::count(line.begin(), line.end(), '"') > 1 && line[0] == '"';
    NameAndRest result;
    bool isName = true;
    for (size_t i = isPaired ? 1 : 0; i < line.size(); ++i) {
        isName = isName && line[i] != (isPaired ? '"' : ' ');
        (isName ? result.name : result.rest).push_back(line[i]);
    }
    return result;
}

/// Returns what the bytes name, byte by byte: the two parts with a line feed between them, or
/// "none".
std::string interpreterModel(const ScriptHead& head) {
    if (head[0] == 'M' && head[1] == 'Z') {
        return "none";
    }
    if (head[0] != '#' || head[1] != '!') {
        return "/bin/sh\n";
    }
    std::string program;
    std::string arguments;
    for (size_t i = 2; i < 255; ++i) {
        const char c = head[i];
        if (c == '\0' || c == '\r' || c == '\n') {
            break;
        }
        (c == ' ' || !arguments.empty() ? arguments : program).push_back(c);
    }
    return program + '\n' + arguments;
}

bool extensionModel(const std::string& path) {
    constexpr std::string_view extensions[] = {".exe", ".com", ".bat", ".cmd"};
    std::string end = path.substr(path.size() - std::min<size_t>(path.size(), 4));
    for (char& c : end) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return std::ranges::find(extensions, end) != std::end(extensions);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string line = takeLine(rest);
    const std::string file = takeLine(rest);

    const NameAndRest split = splitCommandLine(line);
    const NameAndRest expected = splitModel(line);
    NB_ASSERT(split.name == expected.name && split.rest == expected.rest);
    NB_ASSERT(hasProgramExtension(file) == extensionModel(file));

    ScriptHead head{};
    rest.copy(head.data(), head.size());
    const std::optional<Interpreter> interpreter = interpreterOf(head);
    NB_ASSERT((interpreter ? interpreter->program + '\n' + interpreter->arguments : "none") ==
              interpreterModel(head));
    if (interpreter) {
        NB_ASSERT(scriptLine(*interpreter, file, split.rest) ==
                  interpreter->program + interpreter->arguments + " " + file + split.rest);
    }
    return 0;
}
