#include "util/pathfun.h"

#include <cctype>
#include <cstdint>
#include <cstring>

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

/// The name behind `at` and the separators there; empty, at the end of the path, if there is none.
PathRange nextName(StringSpan path, size_t at) {
    const size_t begin = skipSeparators(path, at);
    return {begin, skipName(path, begin)};
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
void appendNames(StringSpan path, size_t from, Ranges& names) {
    for (PathRange name = nextName(path, from); name.length() != 0;
         name = nextName(path, name.end)) {
        names.push_back(name);
    }
}

bool isDot(StringSpan path, PathRange name) {
    return name.length() == 1 && path.data[name.begin] == '.';
}

bool isDotDot(StringSpan path, PathRange name) {
    return name.length() == 2 && path.data[name.begin] == '.' && path.data[name.begin + 1] == '.';
}

/// Lower case. ASCII letters fold without the locale and without a call; the other bytes are the
/// locale's affair.
int lowerCase(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
        return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
    }
    return std::tolower(byte);
}

/// Equal but for case, or both separators.
bool isAlike(char a, char b) {
    return (isPathSeparator(a) && isPathSeparator(b)) || lowerCase(a) == lowerCase(b);
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
void appendJoined(StringSpan path, const Components& names, std::string& result) {
    const size_t joinedFrom = result.size();
    for (auto name = names.begin(); name != names.end();) {
        const size_t begin = name->begin;
        size_t end = name->end;
        while (++name != names.end() && name->begin == end + 1) {
            end = name->end;
        }
        result.append(1, '/').append(path.data + begin, end - begin);
    }
    slashFrom(result, joinedFrom);
}

void appendFolded(StringSpan path, const Root& root, std::string& result) {
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

void toBackslashes(std::string& path) {
    for (char& c : path) {
        c = c == '/' ? '\\' : c;
    }
}

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
    if (mode == windowsPaths && path.length >= 2 && path.data[1] == ':' &&
        !isPathSeparator(path.data[0])) {
        return true;  // a drive
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
    const Root root = findRoot(path);
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

std::string normalForm(StringSpan path) {
    const Root root = findRoot(path);
    const bool absolute = root.absolute;
    NB_ASSERT(absolute);

    const std::string_view text = path.view();
    const std::string_view tail = text.substr(root.range.end);
    std::string result;
    // With room for the `/` that a colon at the end calls for, the result is allocated once.
    if (isTidy(tail) && text.back() != ':') {
        if (root.isShare()) {
            result.reserve(root.textLength() + tail.size());
            root.appendText(path, result);
            result.append(tail);
        } else {
            result = text;  // its root is spelled normally
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
    if (second.length == 0) {
        result = first.view();
    } else if (first.length == 0 || isAbsolutePath(second, windowsPaths)) {
        result = second.view();
    } else if (isPathSeparator(second.data[0])) {
        const Root root = findRoot(first);
        if (root.absolute && (!gCygwinPaths || root.range.length() != 0)) {
            root.appendText(first, result);
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

bool isInPath(const std::string& prefix, const std::string& path) {
    if (path.size() < prefix.size()) {
        return false;
    }
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (prefix[i] != path[i] && !isAlike(prefix[i], path[i])) {
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
    const Root pathRoot = findRoot(path);
    if (!pathRoot.absolute) {
        return false;
    }
    const Root baseRoot = findRoot(base);
    const bool absolute = baseRoot.absolute;
    NB_ASSERT(absolute);

    PathRange ours = baseRoot.range;
    PathRange theirs = pathRoot.range;
    // The roots first, and then the names, until the base has no more.
    do {
        const char* name = base.data() + ours.begin;
        const char* other = path.data() + theirs.begin;
        if (ours.length() != theirs.length() ||
            (std::memcmp(name, other, ours.length()) != 0 &&
             cruntime::strnicmp(name, other, ours.length()) != 0)) {
            return false;
        }
        ours = nextName(base, ours.end);
        theirs = nextName(path, theirs.end);
    } while (ours.length() != 0);
    path.erase(0, theirs.begin);
    return true;
}
