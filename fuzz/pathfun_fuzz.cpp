// Paths as text. Input: a line with the folder of Cygwin's drives, a line with a base, and the
// path. Everything is checked without Cygwin paths and with them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <locale>
#include <vector>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "fuzz/fuzzinput.h"
#include "util/assertion.h"
#include "util/normalform.h"
#include "util/pathfun.h"
#include "util/stringutilities.h"

namespace {

constexpr const char* separators = "/\\";

struct Root {
    bool absolute = false;
    size_t length = 0;
    std::string text;
};

/// A path, split into parts. The names are those after the root.
struct Parts {
    Root root;
    std::vector<std::string> names;
};

/// Cygwin paths are on while it lives.
class CygwinPaths {
public:
    explicit CygwinPaths(const std::string& prefix) { setCygwinPaths(true, prefix); }
    ~CygwinPaths() { setCygwinPaths(false, ""); }
    CygwinPaths(const CygwinPaths&) = delete;
    CygwinPaths& operator=(const CygwinPaths&) = delete;
};

bool endsInSeparator(const std::string& text) {
    return !text.empty() && isPathSeparator(text.back(), windowsPaths);
}

std::string lower(const std::string& text) {
    return boost::to_lower_copy(text, std::locale::classic());
}

bool hasCygwinDrive(const std::string& path, const std::string& prefix) {
    const std::string after = path.substr(std::min(prefix.size(), path.size()));
    return path[0] == '/' && boost::starts_with(path, prefix) && !after.empty() &&
           after[0] != '/' && (after.size() == 1 || after[1] == '/');
}

// The three forms of a root. `prefix` is empty without Cygwin paths.
Root expectedRoot(const std::string& path, const std::string& prefix) {
    const size_t leading = std::min(path.find_first_not_of(separators), path.size());
    if (leading == 0) {
        const bool drive = path.size() >= 2 && path[1] == ':';
        return drive ? Root{true, 2, path.substr(0, 2)} : Root{};
    }
    const bool posix = !prefix.empty() && path[0] == '/';
    if (posix && hasCygwinDrive(path, prefix)) {
        const size_t length = prefix.size() + 1;
        return {true, length, path.substr(0, length)};
    }
    if (leading == 1 || leading == path.size()) {
        return {posix, 0, ""};
    }
    std::vector<std::string> names;
    split(path, names, separators);
    if (names.size() < 2) {
        return {};
    }
    const size_t share = path.find(names[1], leading + names[0].size());
    return {true, share + names[1].size(), "//" + names[0] + "/" + names[1]};
}

Root rootOf(const std::string& path) {
    PathRange range = {7, 9};
    std::string text = "before";
    const bool absolute = parsePathRoot(path, range, &text, windowsPaths);
    NB_ASSERT(range.begin == 0 && range.end <= path.size());
    NB_ASSERT(isAbsolutePath(path, windowsPaths) == absolute);
    NB_ASSERT(absolute || (range.end == 0 && text.empty()));
    return {absolute, range.end, text};
}

Parts partsOf(const std::string& path) {
    const Root root = rootOf(path);
    std::vector<PathRange> ranges;
    std::string text = "before";
    NB_ASSERT(splitPath(path, ranges, &text) == root.absolute);
    NB_ASSERT(text == root.text);

    Parts parts = {root, {}};
    size_t covered = root.length;
    for (size_t i = 0; i < ranges.size(); ++i) {
        const PathRange range = ranges[i];
        // Without a root or a name `splitPath` returns the start of the path, and this function its
        // end.
        const bool nothing = !root.absolute && range.length() == 0;
        NB_ASSERT(pathComponent(path, i) ==
                  (nothing ? PathRange{path.size(), path.size()} : range));
        if (i == 0 && root.absolute) {
            NB_ASSERT(range == (PathRange{0, root.length}));
            continue;
        }
        if (range.length() == 0) {
            NB_ASSERT(ranges.size() == 1 && range == PathRange());
            continue;
        }
        // Each range is a whole name, with nothing but separators before it.
        NB_ASSERT(path.find_first_not_of(separators, covered) == range.begin);
        NB_ASSERT(std::min(path.find_first_of(separators, range.begin), path.size()) == range.end);
        parts.names.push_back(path.substr(range.begin, range.length()));
        covered = range.end;
    }
    NB_ASSERT(!ranges.empty());
    NB_ASSERT(path.find_first_not_of(separators, covered) == std::string::npos);
    return parts;
}

void checkRoot(const std::string& path, const std::string& prefix) {
    const Root expected = expectedRoot(path, prefix);
    const Root root = rootOf(path);
    NB_ASSERT(root.absolute == expected.absolute);
    NB_ASSERT(root.length == expected.length);
    NB_ASSERT(root.text == expected.text);
}

std::string expectedNormalForm(const Parts& parts) {
    std::vector<std::string> kept;
    for (const std::string& name : parts.names) {
        if (name != "." && name != "..") {
            kept.push_back(name);
        } else if (name == ".." && !kept.empty()) {
            kept.pop_back();
        }
    }
    std::string result = parts.root.text;
    for (const std::string& name : kept) {
        result += '/' + name;
    }
    terminateRoot(result);
    return result;
}

void checkNormalForm(const std::string& path) {
    const Parts parts = partsOf(path);
    if (!parts.root.absolute) {
        return;
    }
    const std::string normal = normalizePath(path);
    NB_ASSERT(normal == expectedNormalForm(parts));
    PathBuffer buffer;
    NB_ASSERT(normalFormIn(buffer, path, '/') == normal);
    std::string backslashed = normal;
    toBackslashes(backslashed);
    NB_ASSERT(normalFormIn(buffer, path, '\\') == backslashed);
    NB_ASSERT(normalizePath(normal) == normal);

    const std::string tail = normal.substr(parts.root.text.size());
    NB_ASSERT(tail.find('\\') == std::string::npos);
    NB_ASSERT(tail.find("//") == std::string::npos);
    NB_ASSERT(normal == "/" || normal.back() != '/' || normal[normal.size() - 2] == ':');
    for (const std::string& name : partsOf(normal).names) {
        NB_ASSERT(!isDotName(name));
    }
    if (!cygwinPathsEnabled()) {
        NB_ASSERT(rootOf(normal).text == parts.root.text);
        std::string turned = path;
        toBackslashes(turned);
        NB_ASSERT(normalizePath(turned) == normal);
    }
}

void checkJoin(const std::string& first, const std::string& second) {
    const std::string joined = joinPath(first, second, '/');
    const Root root = rootOf(first);
    std::string before = first;
    if (rootOf(second).absolute) {
        before.clear();
    } else if (!second.empty() && isPathSeparator(second[0], windowsPaths) && !first.empty()) {
        before = root.text;
    } else if (!first.empty() && !second.empty() && !endsInSeparator(first)) {
        before += '/';
    }
    NB_ASSERT(joined == before + second);
    if (!cygwinPathsEnabled()) {
        NB_ASSERT(!root.absolute || rootOf(joined).absolute);
    }
}

bool liesBelow(const std::string& base, const std::string& path) {
    const Parts outer = partsOf(base);
    const Parts inner = partsOf(path);
    const auto same = [](const auto& a, const auto& b) { return lower(a) == lower(b); };
    return inner.root.absolute && outer.names.size() <= inner.names.size() &&
           same(base.substr(0, outer.root.length), path.substr(0, inner.root.length)) &&
           std::equal(outer.names.begin(), outer.names.end(), inner.names.begin(), same);
}

// `base` is absolute.
void checkRelative(const std::string& base, const std::string& path) {
    std::string rest = path;
    const bool below = makeRelativeTo(base, rest);
    NB_ASSERT(below == liesBelow(base, path));
    if (!below) {
        NB_ASSERT(rest == path);
        return;
    }
    NB_ASSERT(boost::ends_with(path, rest));
    NB_ASSERT(rest.find_first_of(separators) != 0);
    // A name like `x:y` at the start of the rest makes it absolute.
    if (isAbsolutePath(rest, windowsPaths)) {
        return;
    }
    const std::string joined = joinPath(base, rest, '/');
    const Root root = rootOf(joined);
    if (!root.absolute || root.text != rootOf(base).text) {
        // As with `/cygdrive` and `c`, from `/cygdrive//c`, or with `//` and `c`.
        NB_ASSERT(cygwinPathsEnabled());
        return;
    }
    NB_ASSERT(lower(normalizePath(joined)) == lower(normalizePath(path)));
}

void checkRelations(const std::string& base, const std::string& path) {
    NB_ASSERT(isInPath(path, path));
    NB_ASSERT(isInPath(path, path + "/x"));
    NB_ASSERT(isInPath(path, path + 'x') == endsInSeparator(path));
    // The comparison of names ends at a NUL, which no real path has.
    const bool real = (base + path).find('\0') == std::string::npos;
    if (!real || !rootOf(base).absolute) {
        return;
    }
    checkRelative(base, path);
    checkRelative(base, joinPath(boost::to_upper_copy(base, std::locale::classic()), path, '\\'));
    if (!rootOf(path).absolute) {
        return;
    }
    const std::string outer = normalizePath(base);
    const std::string inner = normalizePath(path);
    std::string rest = inner;
    const bool below = makeRelativeTo(outer, rest);
    const bool in = isInPath(outer, inner);
    NB_ASSERT(in || !below);
    // As text, `/cygdrive/c` lies in `/cygdrive`, but it is a root.
    if (!cygwinPathsEnabled() || rootOf(outer).length == rootOf(inner).length) {
        NB_ASSERT(in == below);
    }
}

void checkFileName(const std::string& path, PathMode mode) {
    std::vector<PathRange> parts(17);
    splitFileName(path, parts, mode);
    NB_ASSERT(parts.size() == pathPartCount);
    for (const PathRange& part : parts) {
        NB_ASSERT(part.begin <= part.end && part.begin <= path.size());
    }
    const size_t last = path.find_last_of(mode == windowsPaths ? separators : "/");
    const size_t start = last == std::string::npos ? 0 : last + 1;
    NB_ASSERT(parts[leafPart].begin == start);
    NB_ASSERT(parts[directoryPart] == (PathRange{0, start}));
    NB_ASSERT(parts[stemPart].begin == 0 && parts[stemPart].end <= path.size());

    const size_t dot = path.find_last_of('.');
    const bool inLeaf = dot != std::string::npos && dot >= start;
    NB_ASSERT(parts[extensionPart] == (inLeaf ? PathRange{dot, path.size()} : PathRange()));
}

void checkTakingApart(const std::string& path) {
    checkFileName(path, windowsPaths);
    checkFileName(path, windowsPaths + 1);

    const size_t last = path.find_last_of(separators);
    const std::string parent = parentPath(path);
    const std::string leaf = leafName(path);
    std::string folder;
    std::string name;
    splitDirLeaf(path, folder, name);
    NB_ASSERT(folder + name == path);
    if (last == std::string::npos) {
        NB_ASSERT(parent == "." && leaf.empty() && folder.empty());
    } else {
        NB_ASSERT(parent + path[last] + leaf == path && name == leaf);
    }

    std::vector<PathRange> parts;
    splitFileName(path, parts, windowsPaths);
    const PathRange dotted = parts[extensionPart];
    const std::string extension = path.substr(dotted.begin, dotted.length());
    NB_ASSERT(fileExtension(path) == (extension.empty() ? "" : extension.substr(1)));
}

void checkStripDotSlash(const std::string& path) {
    StringSpan rest = path;
    const bool stripped = stripDotSlash(rest);
    NB_ASSERT(rest.data + rest.length == path.data() + path.size());
    NB_ASSERT(stripped ==
              (path.size() >= 3 && path.find_first_of(separators) == 1 && path.front() == '.'));
    NB_ASSERT(stripped == (rest.length != path.size()));
    const std::string left(rest.view());
    if (stripped) {
        NB_ASSERT(!boost::starts_with(left, "/") && !boost::starts_with(left, "\\"));
        NB_ASSERT(!boost::starts_with(left, "./") && !boost::starts_with(left, ".\\"));
        NB_ASSERT(normalizePath("C:/" + left) == normalizePath("C:/" + path));
    }
}

// `prefix` is empty without Cygwin paths.
void checkAll(const std::string& base, const std::string& path, const std::string& prefix) {
    NB_ASSERT(cygwinPathsEnabled() == !prefix.empty());
    checkRoot(base, prefix);
    checkRoot(path, prefix);
    checkNormalForm(base);
    checkNormalForm(path);
    checkJoin(base, path);
    checkJoin(path, base);
    checkRelations(base, path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    std::string prefix = takeLine(rest);
    const std::string base = takeLine(rest);
    const std::string path(rest);

    checkTakingApart(path);
    checkStripDotSlash(path);
    checkAll(base, path, "");
    // A folder that looks like a share can't be the folder of drives: each share could be read in
    // two ways.
    if (prefix.size() >= 2 && isPathSeparator(prefix[1], windowsPaths)) {
        return 0;
    }
    const CygwinPaths paths(prefix);
    if (!endsInSeparator(prefix)) {
        prefix += '/';
    }
    checkAll(base, path, prefix);
    return 0;
}
