#include "util/pathfun.h"

#include <cstddef>
#include <optional>

#include "util/assertion.h"
#include "util/normalform.h"
#include "util/pathbytes.h"
#include "util/pathrelation.h"
#include "util/pathroot.h"

namespace {

void appendRoot(const PathRoot& root, StringSpan path, std::string& text) {
    const size_t size = text.size();
    text.resize(size + root.textLength());
    root.writeText(path, text.data() + size);
}

void appendNames(StringSpan path, size_t from, std::vector<PathRange>& names) {
    for (PathRange name = nextName(path, from); name.length() != 0;
         name = nextName(path, name.end)) {
        names.push_back(name);
    }
}

}  // namespace

void setCygwinPaths(bool enabled, const std::string& prefix) {
    gCygwinPathMode = {enabled, prefix};
    if (prefix.empty() || !isPathSeparator(prefix.back())) {
        gCygwinPathMode.drivePrefix += '/';
    }
}

bool cygwinPathsEnabled() { return gCygwinPathMode.enabled; }

void toBackslashes(std::string& path) {
    pathbytes::copySeparatedBy('\\', path.data(), path.size(), path.data());
}

bool parsePathRoot(StringSpan path, PathRange& root, std::string* rootText, PathMode mode) {
    root = {};
    if (rootText != nullptr) {
        rootText->clear();
    }
    if (mode != windowsPaths) {
        return path.length != 0 && path.data[0] == '/';
    }
    const PathRoot found = findRoot(path);
    root = found.range;
    if (rootText != nullptr) {
        appendRoot(found, path, *rootText);
    }
    return found.absolute;
}

bool isAbsolutePath(StringSpan path, PathMode mode) {
    if (mode == windowsPaths && beginsWithDrive(path)) {
        return true;
    }
    PathRange root;
    return parsePathRoot(path, root, /*rootText=*/nullptr, mode);
}

bool splitPath(const std::string& path, std::vector<PathRange>& components, std::string* rootText) {
    PathRange root;
    const bool absolute = parsePathRoot(path, root, rootText, windowsPaths);
    if (absolute) {
        components.push_back(root);
    }
    appendNames(path, root.end, components);
    if (components.empty()) {
        components.push_back({0, 0});
    }
    return absolute;
}

PathRange pathComponent(StringSpan path, size_t index) {
    const PathRoot root = findRoot(path);
    if (root.absolute && index == 0) {
        return root.range;
    }
    PathRange name = nextName(path, root.range.end);
    for (size_t skipped = root.absolute ? 1 : 0; skipped < index; ++skipped) {
        name = nextName(path, name.end);
    }
    return name;
}

std::string normalizePath(const std::string& path) { return normalForm(path); }

void assertAbsolute(bool absolute) { NB_ASSERT(absolute); }

std::string joinPath(StringSpan first, StringSpan second, char separator) {
    std::string result;
    if (second.length == 0) {
        result = first.view();
    } else if (first.length == 0 || isAbsolutePath(second, windowsPaths)) {
        result = second.view();
    } else if (isPathSeparator(second.data[0])) {
        const PathRoot root = findRoot(first);
        if (root.absolute && (!gCygwinPathMode.enabled || root.range.length() != 0)) {
            appendRoot(root, first, result);
        }
        result.append(second.view());
    } else {
        result.reserve(first.length + 1 + second.length);
        result.append(first.view());
        if (!isPathSeparator(result.back())) {
            result += separator;
        }
        result.append(second.view());
    }
    return result;
}

bool isInPath(const std::string& prefix, const std::string& path) { return liesIn(prefix, path); }

bool makeRelativeTo(const std::string& base, std::string& path) {
    const std::optional<size_t> rest = restBelow(base, path);
    if (rest) {
        path.erase(0, *rest);
    }
    return rest.has_value();
}
