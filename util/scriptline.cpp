#include "util/scriptline.h"

#include <algorithm>
#include <string_view>

#include "util/pathfun.h"
#include "util/stringedit.h"

namespace {

constexpr std::string_view scriptMark = "#!";
constexpr std::string_view programMark = "MZ";

}  // namespace

NameAndRest splitCommandLine(const std::string& line) {
    if (line.starts_with('"')) {
        const size_t closing = line.find('"', 1);
        if (closing != std::string::npos) {
            // Compatibility: the rest keeps the closing quote, and so does the line that is
            // started.
            return {line.substr(1, closing - 1), line.substr(closing)};
        }
    }
    const size_t end = std::min(line.find(' '), line.size());
    return {line.substr(0, end), line.substr(end)};
}

bool hasProgramExtension(const std::string& path) {
    std::string extension = fileExtension(path);
    toLower(extension);
    return extension == "exe" || extension == "com" || extension == "bat" || extension == "cmd";
}

std::optional<Interpreter> interpreterOf(const ScriptHead& head) {
    std::string_view line(head.data(), head.size() - 1);
    if (line.starts_with(programMark)) {
        return std::nullopt;
    }
    if (!line.starts_with(scriptMark)) {
        return Interpreter{"/bin/sh", ""};
    }
    line = line.substr(0, line.find_first_of(std::string_view("\r\n\0", 3)));
    line.remove_prefix(scriptMark.size());
    // Compatibility: a space directly after the mark leaves no program, and such a script isn't
    // started.
    const size_t end = std::min(line.find(' '), line.size());
    return Interpreter{std::string(line.substr(0, end)), std::string(line.substr(end))};
}

std::string scriptLine(const Interpreter& interpreter, const std::string& script,
                       const std::string& rest) {
    std::string line = interpreter.program + interpreter.arguments;
    return line.append(1, ' ').append(script).append(rest);
}
