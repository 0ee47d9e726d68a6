#include "util/pathfun.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

#include <boost/container/small_vector.hpp>

#include "util/assertion.h"
#include "util/cruntime.h"

namespace {

bool gCygwinPaths = false;
std::string gCygwinDrivePrefix;

/// Offsets of a path of usual depth, without an allocation.
using Components = boost::container::small_vector<PathRange, 32>;

size_t skipSeparators(StringSpan path, size_t at) {
    while (at < path.length && isPathSeparator(path.data[at])) {
        ++at;
    }
    return at;
}

size_t skipName(StringSpan path, size_t at) {
    while (at < path.length && !isPathSeparator(path.data[at])) {
        ++at;
    }
    return at;
}

/// The outcome of looking for a root. Server and share are set for a share alone.
struct Root {
    bool absolute = false;
    PathRange range;
    PathRange server;
    PathRange share;

    bool isShare() const { return share.end != 0; }

    /// The length of the normal spelling.
    size_t textLength() const {
        return isShare() ? 3 + server.length() + share.length() : range.length();
    }

    void appendText(StringSpan path, std::string& text) const {
        if (isShare()) {
            text.append("//").append(path.data + server.begin, server.length());
            text.append(1, '/').append(path.data + share.begin, share.length());
        } else {
            text.append(path.data, range.end);
        }
    }
};

/// Whether `path` begins with a folder of one character under the Cygwin drive prefix.
bool beginsWithCygwinDrive(StringSpan path) {
    const size_t n = gCygwinDrivePrefix.size();
    return path.length > n && path.view().substr(0, n) == gCygwinDrivePrefix &&
           path.data[n] != '/' && (path.length == n + 1 || path.data[n + 1] == '/');
}

Root findShare(StringSpan path, size_t serverBegin) {
    Root root;
    const size_t serverEnd = skipName(path, serverBegin);
    const size_t shareBegin = skipSeparators(path, serverEnd);
    if (shareBegin == path.length) {
        return root;
    }
    root.absolute = true;
    root.server = {serverBegin, serverEnd};
    root.share = {shareBegin, skipName(path, shareBegin)};
    root.range = {0, root.share.end};
    return root;
}

Root findRoot(StringSpan path) {
    Root root;
    if (path.length == 0) {
        return root;
    }
    if (!isPathSeparator(path.data[0])) {
        // Whatever stands before the colon and behind it, `1:x` included.
        if (path.length >= 2 && path.data[1] == ':') {
            root.absolute = true;
            root.range = {0, 2};
        }
        return root;
    }
    const bool posixRoot = gCygwinPaths && path.data[0] == '/';
    if (posixRoot && beginsWithCygwinDrive(path)) {
        root.absolute = true;
        root.range = {0, gCygwinDrivePrefix.size() + 1};
        return root;
    }
    const size_t name = skipSeparators(path, 0);
    if (name == path.length || name == 1) {
        root.absolute = posixRoot;
        return root;
    }
    return findShare(path, name);
}

template <class Ranges>
void appendNames(StringSpan path, size_t from, Ranges& components) {
    size_t begin = skipSeparators(path, from);
    while (begin != path.length) {
        const size_t end = skipName(path, begin);
        components.push_back({begin, end});
        begin = skipSeparators(path, end);
    }
}

/// Appends the root, if the path is absolute, and the names behind it.
template <class Ranges>
Root appendComponents(StringSpan path, Ranges& components) {
    const Root root = findRoot(path);
    if (root.absolute) {
        components.push_back(root.range);
    }
    appendNames(path, root.range.end, components);
    return root;
}

bool isDot(StringSpan path, PathRange name) {
    return name.length() == 1 && path.data[name.begin] == '.';
}

bool isDotDot(StringSpan path, PathRange name) {
    return name.length() == 2 && path.data[name.begin] == '.' && path.data[name.begin + 1] == '.';
}

/// Drops `.` and resolves `..` in place; no name is lost but by a `..` behind it.
void foldDots(StringSpan path, Components& names) {
    auto kept = names.begin();
    for (const PathRange name : names) {
        if (isDot(path, name)) {
            continue;
        }
        if (isDotDot(path, name)) {
            if (kept != names.begin()) {
                --kept;
            }
            continue;
        }
        *kept++ = name;
    }
    names.erase(kept, names.end());
}

/// Whether names that follow each other by one separator, none beginning with a dot, make up all of
/// `tail`. Nearly every path is such, so the loop is one that compilers turn into vector code.
bool isTidy(std::string_view tail) {
    if (tail.empty() || !isPathSeparator(tail.front()) || isPathSeparator(tail.back())) {
        return tail.empty();
    }
    const char* text = tail.data();
    uint8_t untidy = 0;
    for (size_t i = 0; i + 1 < tail.size(); ++i) {
        const char next = text[i + 1];
        const uint8_t here = uint8_t{text[i] == '/'} | uint8_t{text[i] == '\\'};
        const uint8_t behind = uint8_t{next == '/'} | uint8_t{next == '\\'} | uint8_t{next == '.'};
        untidy = static_cast<uint8_t>(untidy | (here & behind));
    }
    return untidy == 0;
}

void slashFrom(std::string& text, size_t from) {
    char* c = text.data() + from;
    for (char* const end = text.data() + text.size(); c != end; ++c) {
        *c = *c == '\\' ? '/' : *c;
    }
}

/// Appends each name behind a `/`. Names that stand one separator apart are copied in one piece.
void appendJoined(const std::string& path, const Components& names, std::string& result) {
    const size_t joinedFrom = result.size();
    for (auto name = names.begin(); name != names.end();) {
        const size_t begin = name->begin;
        size_t end = name->end;
        while (++name != names.end() && name->begin == end + 1) {
            end = name->end;
        }
        result.append(1, '/').append(path, begin, end - begin);
    }
    slashFrom(result, joinedFrom);
}

void appendFolded(const std::string& path, const Root& root, std::string& result) {
    Components names;
    appendNames(path, root.range.end, names);
    foldDots(path, names);
    size_t size = root.textLength() + 1;
    for (const PathRange name : names) {
        size += 1 + name.length();
    }
    result.reserve(size);
    root.appendText(path, result);
    appendJoined(path, names, result);
}

}  // namespace

void setCygwinPaths(bool enabled, const std::string& prefix) {
    gCygwinPaths = enabled;
    gCygwinDrivePrefix = prefix;
    if (prefix.empty() || !isPathSeparator(prefix.back())) {
        gCygwinDrivePrefix += '/';
    }
}

bool cygwinPathsEnabled() { return gCygwinPaths; }

void toBackslashes(std::string& path) { std::replace(path.begin(), path.end(), '/', '\\'); }

bool parsePathRoot(StringSpan path, PathRange& root, std::string* rootText, int mode) {
    root = {};
    if (rootText != nullptr) {
        rootText->clear();
    }
    if (mode != windowsPaths) {
        return path.length != 0 && path.data[0] == '/';
    }
    const Root found = findRoot(path);
    root = found.range;
    if (rootText != nullptr) {
        found.appendText(path, *rootText);
    }
    return found.absolute;
}

bool isAbsolutePath(StringSpan path, int mode) {
    PathRange root;
    return parsePathRoot(path, root, /*rootText=*/nullptr, mode);
}

bool splitPath(const std::string& path, std::vector<PathRange>& components, std::string* rootText) {
    const Root root = appendComponents(path, components);
    if (rootText != nullptr) {
        rootText->clear();
        root.appendText(path, *rootText);
    }
    if (components.empty()) {
        components.push_back({0, 0});
    }
    return root.absolute;
}

std::string normalizePath(const std::string& path) {
    const Root root = findRoot(path);
    const bool absolute = root.absolute;
    NB_ASSERT(absolute);

    const std::string_view tail = std::string_view(path).substr(root.range.end);
    std::string result;
    // With room for the `/` that a colon at the end calls for, the result is allocated once.
    if (isTidy(tail) && path.back() != ':') {
        if (root.isShare()) {
            result.reserve(root.textLength() + tail.size());
            root.appendText(path, result);
            result.append(tail);
        } else {
            result = path;  // its root is spelled normally
        }
        slashFrom(result, result.size() - tail.size());
    } else {
        appendFolded(path, root, result);
    }
    if (result.empty() || result.back() == ':') {
        result += '/';
    }
    return result;
}

std::string joinPath(StringSpan first, StringSpan second, char separator) {
    std::string result;
    if (first.length == 0 || isAbsolutePath(second, windowsPaths)) {
        return result.append(second.view());
    }
    if (second.length == 0) {
        return result.append(first.view());
    }
    if (isPathSeparator(second.data[0])) {
        const Root root = findRoot(first);
        if (root.absolute && (!gCygwinPaths || root.range.length() != 0)) {
            root.appendText(first, result);
        }
        return result.append(second.view());
    }
    result.reserve(first.length + 1 + second.length);
    result.append(first.view());
    if (!isPathSeparator(result.back())) {
        result += separator;
    }
    return result.append(second.view());
}

bool isInPath(const std::string& prefix, const std::string& path) {
    if (path.size() < prefix.size()) {
        return false;
    }
    for (size_t i = 0; i < prefix.size(); ++i) {
        const char a = prefix[i];
        const char b = path[i];
        const bool same = a == b || (isPathSeparator(a) && isPathSeparator(b)) ||
                          std::tolower(static_cast<unsigned char>(a)) ==
                              std::tolower(static_cast<unsigned char>(b));
        if (!same) {
            return false;
        }
    }
    if (path.size() == prefix.size()) {
        return true;
    }
    return (!prefix.empty() && isPathSeparator(prefix.back())) ||
           isPathSeparator(path[prefix.size()]);
}

bool makeRelativeTo(const std::string& base, std::string& path) {
    Components components;
    if (!appendComponents(path, components).absolute) {
        return false;
    }
    Components baseComponents;
    const bool absolute = appendComponents(base, baseComponents).absolute;
    NB_ASSERT(absolute);

    if (baseComponents.size() > components.size()) {
        return false;
    }
    const bool below =
        std::equal(baseComponents.begin(), baseComponents.end(), components.begin(),
                   [&](PathRange ours, PathRange theirs) {
                       return ours.length() == theirs.length() &&
                              cruntime::strnicmp(base.data() + ours.begin,
                                                 path.data() + theirs.begin, ours.length()) == 0;
                   });
    if (!below) {
        return false;
    }
    const size_t consumed = baseComponents.size();
    path.erase(0, consumed == components.size() ? path.size() : components[consumed].begin);
    return true;
}
