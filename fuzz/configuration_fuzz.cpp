// The configuration file. Input: a line with a view root prefix, and the file.

#include <cstddef>
#include <cstdint>
#include <locale>
#include <set>
#include <sstream>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "clearcase/configuration.h"
#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/pathfun.h"

namespace {

/// What a file says.
struct Content {
    Configuration configuration;
    std::string errors;
    /// Whether an element's path isn't absolute. The product terminates on such a path.
    bool hasRelativePath = false;
};

struct Cut {
    std::string before;
    std::string after;
};

// Cuts at the first `c`. If there is none, `before` is the whole text.
bool cutAt(char c, const std::string& text, Cut& result) {
    const size_t at = text.find(c);
    result.before = text.substr(0, at);
    result.after = at == std::string::npos ? "" : text.substr(at + 1);
    return at != std::string::npos;
}

void expectVob(const std::string& line, Content& content) {
    Cut vob;
    if (!cutAt('=', line, vob)) {
        content.errors += "Invalid line in [vobs]:  " + line + "\n";
        return;
    }
    std::set<std::string> flags;
    boost::split(flags, vob.after, boost::is_any_of(",; "));
    content.configuration.vobs.push_back(
        {vob.before, flags.count("ro") != 0 ? vobReadOnly : vobWritable});
}

void expectElement(const std::string& line, const std::string& prefix, Content& content) {
    Cut element;
    if (!cutAt('=', line, element)) {
        content.errors += "Invalid line in [attrs]:  " + line + "\n";
        return;
    }
    ElementRecord record;
    Cut typed;
    if (cutAt('*', element.after, typed)) {
        const auto type = elementTypeMap.find(typed.after);
        if (type == elementTypeMap.end()) {
            content.errors += "Invalid attr '" + typed.after + "' for " + element.before + "\n";
        } else {
            record.type = type->second;
        }
    }
    record.value = typed.before;
    if (!isAbsolutePath(element.before, windowsPaths)) {
        content.hasRelativePath = true;
        return;
    }
    std::string key = normalizePath(element.before);
    toBackslashes(key);
    content.configuration.elements[key] = record;
    if (!prefix.empty()) {
        content.configuration.elements[prefix + element.before] = record;
    }
}

// A plain model of the format.
Content expectedContent(const std::string& file, const std::string& prefix) {
    Content content;
    std::string section;
    size_t start = 0;
    for (size_t end; (end = file.find('\n', start)) != std::string::npos; start = end + 1) {
        std::string line = file.substr(start, end - start);
        boost::trim_if(line, boost::is_any_of(" \t\n\v\f\r"));
        if (line.empty() || line[0] == ';' || line[0] == '#') {
            continue;
        }
        if (line[0] == '[') {
            section = boost::to_lower_copy(line, std::locale::classic());
        } else if (section == "[vobs]") {
            expectVob(line, content);
        } else if (section == "[attrs]") {
            expectElement(line, prefix, content);
        }
    }
    return content;
}

Content read(const std::string& file, const std::string& prefix) {
    Content content;
    std::istringstream input(file);
    std::ostringstream errors;
    readConfiguration(input, prefix, content.configuration, errors);
    content.errors = errors.str();
    for (const auto& [key, record] : content.configuration.elements) {
        NB_ASSERT(content.configuration.index.find(key) == &record);
        NB_ASSERT(content.configuration.index.find(key + ' ') == nullptr ||
                  content.configuration.elements.count(key + ' ') != 0);
    }
    return content;
}

void checkEqual(const Content& a, const Content& b) {
    NB_ASSERT(a.errors == b.errors);
    NB_ASSERT(a.configuration.vobs.size() == b.configuration.vobs.size());
    for (size_t i = 0; i < a.configuration.vobs.size(); ++i) {
        NB_ASSERT(a.configuration.vobs[i].tag == b.configuration.vobs[i].tag);
        NB_ASSERT(a.configuration.vobs[i].state == b.configuration.vobs[i].state);
    }
    NB_ASSERT(a.configuration.elements.size() == b.configuration.elements.size());
    auto other = b.configuration.elements.begin();
    for (const auto& [key, record] : a.configuration.elements) {
        NB_ASSERT(key == other->first);
        NB_ASSERT(record.type == other->second.type);
        NB_ASSERT(record.value == other->second.value);
        ++other;
    }
}

void checkLines(const std::string& file, const std::string& prefix, const Content& content) {
    // A last line without a line feed isn't read.
    const std::string lines = file.substr(0, file.rfind('\n') + 1);
    checkEqual(read(lines, prefix), content);
    checkEqual(read(lines + "[vobs]", prefix), content);
    checkEqual(read(lines + "relative=x", prefix), content);
    // It doesn't matter either how lines end, what is between them, or what is before them.
    const std::string spread = boost::replace_all_copy(lines, "\n", " \r\n\n\t# [vobs]\n;\n");
    checkEqual(read("tag=ro\n[none]\nx\n[]\n" + spread, prefix), content);
}

void checkFile(const std::string& file, const std::string& prefix) {
    const Content expected = expectedContent(file, prefix);
    if (expected.hasRelativePath) {
        return;
    }
    const Content content = read(file, prefix);
    checkEqual(content, expected);
    checkLines(file, prefix, content);
    for (const auto& [key, record] : content.configuration.elements) {
        NB_ASSERT(!prefix.empty() || elementKey(key) == key);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string prefix = takeLine(rest);
    const std::string file(rest);

    checkFile(file, "");
    checkFile(file, prefix);
    return 0;
}
