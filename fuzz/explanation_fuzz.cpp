// Why an element has its status. Input: a line with a view root prefix, a line with a path, and the
// configuration.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <utility>

#include "clearcase/configuration.h"
#include "clearcase/elementstatus.h"
#include "fuzz/fuzzinput.h"
#include "tools/ccquery/ask.h"
#include "tools/ccquery/configurationlines.h"
#include "tools/ccquery/explainstatus.h"
#include "tools/ccquery/nearlines.h"
#include "util/assertion.h"
#include "util/pathfun.h"

namespace {

using namespace ccquery;

/// The file that the disk has for every path.
constexpr FileFacts readOnlyFile = {.isDirectory = false, .isReadOnly = true};

/// What the library reads, up to Ctrl+Z.
void read(const std::string& file, const std::string& prefix, Configuration& configuration) {
    std::istringstream input(file.substr(0, file.find('\x1a')));
    std::ostringstream errors;
    readConfiguration(input, prefix, configuration, errors);
}

/// The answer of the fake connection.
Json expectedAnswer(const std::string& path, const ElementIndex& elements, bool& isConfigured) {
    const std::string notWritten(1, '\0');
    std::string version;
    std::string target = notWritten;
    const auto status = configuredStatus(elements, path.c_str(), &version, &target);
    isConfigured = status.has_value();
    const ElementType type =
        status.value_or(statusOfFile(readOnlyFile.isDirectory, readOnlyFile.isReadOnly));
    return {{"type", type},
            {"typeName", elementTypeName(type).value()},
            {"version", version},
            {"target", target == notWritten ? Json(nullptr) : Json(target)}};
}

void checkNearLines(const ConfigurationLines& lines, const std::string& path, bool isConfigured) {
    const std::vector<NearLine> found = NearLines(lines).of(path);
    NB_ASSERT(found.size() <= 3);
    NB_ASSERT(found.empty() || !isConfigured);
    const std::string key = elementKey(path);
    const ConfigurationLine* before = nullptr;
    for (const NearLine& line : found) {
        NB_ASSERT(line.line != before);
        before = line.line;
        NB_ASSERT(line.line->kind != LineKind::element ||
                  (line.line->key != key && line.line->secondKey != key));
    }
    NB_ASSERT(std::is_sorted(found.begin(), found.end(), [](const NearLine& a, const NearLine& b) {
        return a.reason < b.reason;
    }));
}

void checkPath(const std::string& text, const std::string& file, const std::string& prefix) {
    // A connection reads up to a null character.
    const std::string path = text.substr(0, text.find('\0'));
    const ConfigurationLines lines(file, prefix);
    const auto& all = lines.lines();
    const auto isRelative = [](const ConfigurationLine& line) {
        return line.kind == LineKind::relativePath;
    };
    if (!isAbsolutePath(path, windowsPaths) || std::any_of(all.begin(), all.end(), isRelative)) {
        return;  // the product terminates
    }
    Configuration configuration;
    read(file, prefix, configuration);
    bool isConfigured = false;
    const Json answer = expectedAnswer(path, configuration.index, isConfigured);
    const Explain explain =
        statusExplainer({.configName = "f",
                         .configText = file,
                         .viewRootPrefix = prefix,
                         .look = [](const std::string&) { return std::optional(readOnlyFile); }});
    const Explanation explanation = explain(path, answer);
    NB_ASSERT(explanation.agrees);
    NB_ASSERT(explanation.record["decidedBy"] == (isConfigured ? "line" : "file"));
    Json other = answer;
    other["version"] = answer["version"].get<std::string>() + "x";
    NB_ASSERT(!explain(path, other).agrees);
    checkNearLines(lines, path, isConfigured);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string prefix = takeLine(rest);
    const std::string path = takeLine(rest);
    const std::string file(rest);

    checkPath(path, file, "");
    checkPath(path, file, prefix);
    checkPath(prefix + path, file, prefix);
    return 0;
}
