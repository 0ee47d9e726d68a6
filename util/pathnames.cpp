// The last component of a path, and small predicates.

#include <cctype>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "util/assertion.h"
#include "util/pathfun.h"

namespace {

constexpr const char* separators = "/\\";

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// Where the leaf of `splitFileName` starts.
size_t leafStart(const std::string& path) {
    const size_t separator = path.find_last_of(separators);
    return separator == std::string::npos ? 0 : separator + 1;
}

}  // namespace

std::string parentPath(const std::string& path) {
    const size_t separator = path.find_last_of(separators);
    return separator == std::string::npos ? "." : path.substr(0, separator);
}

std::string leafName(const std::string& path) {
    // Compatibility: a bare name has the parent "." but no leaf. Callers test for the empty leaf.
    const size_t separator = path.find_last_of(separators);
    return separator == std::string::npos ? std::string() : path.substr(separator + 1);
}

std::string fileExtension(const std::string& path) {
    const size_t separator = path.find_last_of(separators);
    const size_t dot = path.rfind('.');
    const bool inLeaf = separator == std::string::npos || dot > separator;
    return dot == std::string::npos || !inLeaf ? std::string() : path.substr(dot + 1);
}

void splitFileName(const std::string& path, PathParts& parts, PathMode mode) {
    parts.assign(pathPartCount, {});
    PathRange& directory = parts[directoryPart];
    PathRange& leaf = parts[leafPart];
    PathRange& stem = parts[stemPart];
    const size_t size = path.size();
    if (size > 1 && path[1] == ':') {
        parts[drivePart] = {0, 1};
    }
    for (size_t i = size; i-- > 0 && directory.end == 0;) {
        if (path[i] == '.' && stem.end == 0) {
            parts[extensionPart] = {i, size};
            stem = {0, i};
        }
        if (isPathSeparator(path[i], mode)) {
            leaf = {i + 1, size};
            directory = {0, i + 1};
            if (stem.end == 0) {
                stem = {0, size};
            }
        }
    }
    if (leaf.length() != 0) {
        return;
    }
    if (stem.end == 0) {
        stem = {0, size};
    }
    // Compatibility: after a trailing separator the leaf's end is past the path's. Callers use only
    // the beginning of the leaf.
    leaf.end = leaf.begin + size;
}

void splitDirLeaf(const std::string& path, std::string& dir, std::string& leaf) {
    const size_t start = leafStart(path);
    std::string rest = path.substr(start);
    dir = path.substr(0, start);
    leaf.swap(rest);
}

void splitWildcardLeaf(const std::string& path, std::string& dir, std::string& pattern) {
    std::string directory;
    std::string leaf;
    splitDirLeaf(path, directory, leaf);
    if (leaf.find_first_of("*%") != std::string::npos) {
        dir.swap(directory);
        pattern.swap(leaf);
    } else {
        dir = path;
        pattern.clear();
    }
}

void terminateRoot(std::string& path) {
    if (path.empty() || path.back() == ':') {
        path += '/';
    }
}

void joinPathList(const std::vector<std::string>& paths, std::string& out) {
    const char* separator = "";
    for (const std::string& path : paths) {
        out.append(separator).append(path);
        separator = ";";
    }
}

bool isDotName(const char* name) { return isDotName(StringSpan(name)); }

bool isDotName(const std::string& name) { return isDotName(StringSpan(name)); }

bool isDotName(StringSpan name) { return name.view() == "." || name.view() == ".."; }

bool stripDotSlash(StringSpan& path) {
    const auto startsWithDotSlash = [](std::string_view text) {
        return text.size() >= 2 && text[0] == '.' && isPathSeparator(text[1]);
    };
    std::string_view rest = path.view();
    if (rest.size() < 3 || !startsWithDotSlash(rest)) {
        return false;
    }
    rest.remove_prefix(2);
    for (;;) {
        if (!rest.empty() && isPathSeparator(rest.front())) {
            rest.remove_prefix(1);
        } else if (startsWithDotSlash(rest)) {
            rest.remove_prefix(2);
        } else {
            break;
        }
    }
    path = rest;
    return true;
}

char isDriveRoot(const char* path) {
    const char upper = static_cast<char>(path[0] & ~0x20);
    const bool letter = upper >= 'A' && upper <= 'Z';
    return letter && path[1] == ':' && isPathSeparator(path[2]) && path[3] == '\0' ? upper : '\0';
}

bool isDriveColon(const std::string& line, size_t loc, bool fallback) {
    NB_ASSERT(line[loc] == ':');
    const char before = loc >= 1 ? line[loc - 1] : '\0';
    const char beforeThat = loc >= 2 ? line[loc - 2] : ' ';
    const char after = loc + 1 < line.size() ? line[loc + 1] : ' ';

    if (std::isalnum(static_cast<unsigned char>(before)) == 0 && before != '@') {
        return false;
    }
    if (!isBlank(beforeThat) && beforeThat != '(') {
        return false;
    }
    if (isPathSeparator(after)) {
        return true;
    }
    return after != '(' && after != ':' && fallback;
}
