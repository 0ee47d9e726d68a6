#include "tools/ccquery/journals/elementline.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include "clearcase/elementtypes.h"
#include "util/pathfun.h"

namespace ccquery {
namespace {

/// Ends a file that is read as text.
constexpr char ctrlZ = '\x1a';

const char* nameOf(int32_t type) {
    const ElementTypeName* entry = elementTypeNames;
    while (entry->name != nullptr && entry->type != type) {
        ++entry;
    }
    return entry->name;
}

/// Returns why a line can't have this as a text before its `*`.
std::string problemOfText(const std::string& text) {
    if (text.find('*') != std::string::npos) {
        return "it contains '*'";
    }
    if (text.find('\n') != std::string::npos) {
        return "it contains a line end";
    }
    if (text.find(ctrlZ) != std::string::npos) {
        return "it contains Ctrl+Z";
    }
    return {};
}

/// Whether white space at the end could be removed with the end of the line. What is white space
/// beyond ASCII depends on the locale of the host.
bool endsOddly(const std::string& text) {
    return !text.empty() && (text.back() < '!' || text.back() > '~');
}

/// Returns the texts of a link at `path` that can lead to `target`.
std::vector<std::string> linkTexts(const std::string& path, const std::string& target) {
    std::vector<std::string> texts;
    const auto offer = [&](const std::string& text) {
        if (std::find(texts.begin(), texts.end(), text) == texts.end()) {
            texts.push_back(text);
        }
    };
    // A relative text is joined to the parent, with a slash unless a separator is there already.
    const std::string parent = parentPath(path);
    if (target.starts_with(parent)) {
        const std::string rest = target.substr(parent.size());
        offer(rest.starts_with('/') ? rest.substr(1) : rest);
    }
    offer(target);
    // A text with a leading separator is joined to the root.
    PathRange root;
    std::string rootText;
    if (parsePathRoot(parent, root, &rootText, windowsPaths) && target.starts_with(rootText)) {
        offer(target.substr(rootText.size()));
    }
    return texts;
}

ElementLines linkLines(const std::string& key, const std::string& path,
                       const std::optional<std::string>& target) {
    if (!target) {
        return {.candidates = {key + "=\n"}};
    }
    ElementLines lines;
    for (const std::string& text : linkTexts(path, *target)) {
        const std::string problem = problemOfText(text);
        if (problem.empty()) {
            std::string line = key;
            line.append("=").append(text).append(endsOddly(text) ? "*symbolic_link\n" : "\n");
            lines.candidates.push_back(std::move(line));
        } else {
            lines.problem = "no line can have this link text: " + problem;
        }
    }
    return lines;
}

}  // namespace

std::string problemOfName(const std::string& name) {
    if (name.find('\n') != std::string::npos) {
        return "it contains a line end";
    }
    if (name.find(ctrlZ) != std::string::npos) {
        return "it contains Ctrl+Z";
    }
    if (name.find('=') != std::string::npos) {
        return "it contains '='";
    }
    if (!name.empty() && std::isspace(static_cast<unsigned char>(name.front())) != 0) {
        return "it begins with white space";
    }
    if (!name.empty() && std::string_view(";#[").find(name.front()) != std::string_view::npos) {
        return "it begins like a comment or a section";
    }
    return {};
}

ElementLines elementLines(const std::string& key, const std::string& path,
                          const StatusAnswer& answer) {
    const std::string problem = problemOfName(key);
    if (!problem.empty()) {
        return {.problem = "no line can have this path: " + problem};
    }
    const char* const type = nameOf(answer.type);
    if (type == nullptr) {
        return {.problem =
                    "no type of a configuration has the number " + std::to_string(answer.type)};
    }
    if (answer.type == elementSymbolicLink) {
        return linkLines(key, path, answer.target);
    }
    const bool versioned = answer.type == elementVersion || answer.type == elementDirectoryVersion;
    std::string text;
    if (versioned) {
        if (answer.version && answer.version->empty()) {
            return {.problem = "no line gives this type without a version"};
        }
        // Only people read it: the fake's version is always the same.
        text = answer.version.value_or("/main/0");
        if (!problemOfText(text).empty()) {
            text.clear();
        }
    }
    return {.candidates = {key + '=' + text + '*' + type + '\n'}};
}

}  // namespace ccquery
