// The findings about a configuration. Input: a line with a view root prefix, and the file.

#include <cstddef>
#include <cstdint>
#include <iostream>

#include "fuzz/fuzzinput.h"
#include "testing/linesremoved.h"
#include "tools/ccquery/elementfindings.h"
#include "tools/ccquery/findings.h"
#include "util/assertion.h"

namespace {

using namespace ccquery;

/// Each line takes the place after the one before it.
void checkLines(const ConfigurationLines& file) {
    size_t begin = 0;
    for (const ConfigurationLine& line : file.lines()) {
        NB_ASSERT(line.text.data() == file.text().data() + begin);
        NB_ASSERT(line.text.find('\n') == std::string_view::npos);
        NB_ASSERT(line.text.find(line.trimmed) != std::string_view::npos);
        NB_ASSERT(&file.line(line.number) == &line);
        begin += line.text.size() + 1;
    }
    NB_ASSERT(begin == file.text().size() || begin == file.text().size() + 1);
}

/// The deciding lines are the table.
void checkKeys(const ConfigurationLines& file) {
    for (const auto& [key, element] : file.configuration().elements) {
        const ConfigurationLine* line = file.deciding(key);
        NB_ASSERT(line != nullptr && (line->key == key || line->secondKey == key));
        NB_ASSERT(line->type == element.type && line->value == element.value);
        // Each first key is that of the path which is spelled like it.
        NB_ASSERT(isReachable(line->key) == (line->key.find('\0') == std::string_view::npos));
        const auto same = file.asElement(*line);
        NB_ASSERT(same && same->key == line->key && same->secondKey == line->secondKey &&
                  same->type == line->type && same->value == line->value);
        NB_ASSERT(file.deciding(key + "x") == nullptr ||
                  file.configuration().elements.count(key + "x") != 0);
    }
}

void checkFindings(const ConfigurationLines& file) {
    size_t line = 0;
    for (const Finding& finding : findings(file)) {
        NB_ASSERT(finding.line >= line && finding.line <= finding.lastLine);
        NB_ASSERT(finding.lastLine <= file.lines().size());
        NB_ASSERT(finding.column >= 1 && finding.column <= file.line(finding.line).text.size() + 1);
        NB_ASSERT(finding.isError == (file.line(finding.line).kind == LineKind::relativePath));
        line = finding.line;
    }
}

void checkFile(const std::string& text, const std::string& prefix) {
    const ConfigurationLines file(text, prefix);
    checkLines(file);
    checkKeys(file);
    checkFindings(file);
    const std::string wrong = testing_support::wrongFinding(text, prefix);
    if (!wrong.empty()) {
        std::cerr << wrong << '\n';
    }
    NB_ASSERT(wrong.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string prefix = takeLine(rest);
    const std::string text(rest);

    checkFile(text, "");
    checkFile(text, prefix);
    return 0;
}
