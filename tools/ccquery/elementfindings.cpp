#include "tools/ccquery/elementfindings.h"

#include <algorithm>
#include <vector>

#include "tools/ccquery/nearestname.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"

namespace ccquery {
namespace {

std::string quoted(std::string_view text) {
    std::string result = "'";
    return result.append(text).append(1, '\'');
}

std::string lineName(const ConfigurationLine& line) {
    return "line " + std::to_string(line.number);
}

/// "a, b or c"
std::string alternatives(const std::vector<std::string>& names) {
    std::string text = names.front();
    for (size_t i = 1; i < names.size(); ++i) {
        text += (i + 1 < names.size() ? ", " : " or ") + names[i];
    }
    return text;
}

void addUnknownType(const ConfigurationLine& line, FindingList& list) {
    std::vector<std::string> names;
    for (const ElementTypeName* entry = elementTypeNames; entry->name != nullptr; ++entry) {
        names.emplace_back(entry->name);
    }
    const auto meant = nearestName(*line.unknownType, names);
    list.add(line, *line.unknownType, "unknown-type",
             "there is no type " + quoted(*line.unknownType) +
                 ", and so the element is a link; write " + (meant ? *meant : alternatives(names)));
}

/// A later line decides about the element.
void addReplaced(const ConfigurationLines& file, const ConfigurationLine& line,
                 const ConfigurationLine& decider, FindingList& list) {
    std::string text = lineName(decider) + " replaces the element " + quoted(line.key);
    if (!line.secondKey.empty() && file.deciding(line.secondKey) == &line) {
        text += ", except for its second path " + quoted(line.secondKey);
    }
    list.add(line, line.path, "replaced-element", text + "; take one of the two lines out");
}

/// What makes the line's second path one that a path can name.
std::string remedyForSecondPath(const ConfigurationLine& line, const std::string& root) {
    if (!isAbsolutePath(root, windowsPaths)) {
        return "set CLEARCASE_ROOT to an absolute path, or remove it";
    }
    const std::string key(line.key);
    if (isReachable(root + key)) {
        return "write " + quoted(key);
    }
    const std::string normalRoot = elementKey(root);
    if (isReachable(normalRoot + key)) {
        return "set CLEARCASE_ROOT to " + quoted(normalRoot);
    }
    return "if hosts ask for the element below " + quoted(root) + ", add a line with that path";
}

void addUnreachable(const ConfigurationLines& file, const ConfigurationLine& line,
                    FindingList& list) {
    if (!isReachable(line.key)) {
        list.add(line, line.path, "unreachable-element",
                 "no path can name the element " + quoted(line.key) +
                     ", which has a null character in it; take the null character out");
        return;
    }
    if (line.secondKey.empty() || isReachable(line.secondKey)) {
        return;
    }
    list.add(line, line.path, "unreachable-second-path",
             "no path can name the element's second path " + quoted(line.secondKey) + "; " +
                 remedyForSecondPath(line, file.viewRootPrefix()));
}

void addRelativePath(const ConfigurationLine& line, FindingList& list) {
    list.add(line, line.path, "relative-path",
             "the path " + quoted(line.path) +
                 " isn't absolute, and so this line stops the host; begin with a drive or with a "
                 "server and a share")
        .isError = true;
}

void addBlankAfterEquals(const ConfigurationLine& line, FindingList& list) {
    const bool isLink = line.type == elementSymbolicLink;
    if (isLink && (line.value.starts_with(' ') || line.value.starts_with('\t'))) {
        list.add(line, line.value, "blank-after-equals",
                 "the blank after '=' belongs to the text of the link; take it out");
    }
}

void checkElement(const ConfigurationLines& file, const ConfigurationLine& line,
                  FindingList& list) {
    const ConfigurationLine& decider = *file.deciding(line.key);
    if (&decider != &line) {
        addReplaced(file, line, decider, list);
    } else if (!list.hasEffect(line)) {
        list.add(line, line.path, "repeated-element",
                 lineName(file.line(line.keyBefore)) + " says the same of the element " +
                     quoted(line.key) + "; take one of the two lines out");
    }
    if (line.unknownType) {
        addUnknownType(line, list);
    }
    addBlankBeforeEquals(line, line.path, "path", list);
    addBlankAfterEquals(line, list);
    addUnreachable(file, line, list);
}

/// Of the elements whose keys differ in case alone, names the first one in each later one.
void addCaseFindings(const ConfigurationLines& file, FindingList& list) {
    std::vector<const ConfigurationLine*> deciders;
    for (const ConfigurationLine& line : file.lines()) {
        if (line.kind == LineKind::element && file.deciding(line.key) == &line) {
            deciders.push_back(&line);
        }
    }
    std::stable_sort(deciders.begin(), deciders.end(),
                     [](const ConfigurationLine* a, const ConfigurationLine* b) {
                         return comparePaths(a->key, b->key) < 0;
                     });
    const ConfigurationLine* first = nullptr;
    for (const ConfigurationLine* line : deciders) {
        if (first == nullptr || comparePaths(first->key, line->key) != 0) {
            first = line;
            continue;
        }
        list.add(*line, line->path, "case-differs",
                 "only case distinguishes " + quoted(line->key) + " from " + quoted(first->key) +
                     " in " + lineName(*first) +
                     ", and they are two elements; take one out, or spell it as the host does");
    }
}

}  // namespace

void addElementFindings(const ConfigurationLines& file, FindingList& list) {
    for (const ConfigurationLine& line : file.lines()) {
        if (line.kind == LineKind::element) {
            checkElement(file, line, list);
        } else if (line.kind == LineKind::relativePath) {
            addRelativePath(line, list);
        }
    }
    addCaseFindings(file, list);
}

bool isReachable(std::string_view key) {
    return key.find('\0') == std::string_view::npos && isAbsolutePath(key, windowsPaths) &&
           elementKey(key) == key;
}

void addBlankBeforeEquals(const ConfigurationLine& line, std::string_view name,
                          const std::string& what, FindingList& list) {
    if (name.ends_with(' ') || name.ends_with('\t')) {
        list.add(line, name.substr(name.size() - 1), "blank-before-equals",
                 "the blank before '=' belongs to the " + what + "; take it out");
    }
}

}  // namespace ccquery
