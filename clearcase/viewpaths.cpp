#include "clearcase/viewpaths.h"

#include <cctype>
#include <optional>
#include <ostream>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "util/pathfun.h"
#include "util/stringutilities.h"

namespace {

using Drives = std::map<std::string, std::string>;
using Roots = boost::container::small_vector<std::string, 16>;

std::string driveOf(const std::string& path) { return path.substr(0, 2); }

/// Saves a call of the C runtime for an upper-case letter.
bool isUpperCase(char c) { return c >= 'A' && c <= 'Z'; }

void capitalize(std::string& text) {
    if (!text.empty() && !isUpperCase(text[0])) {
        text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    }
}

/// The first two characters in upper case.
std::string upperDriveOf(const std::string& path) {
    std::string drive = driveOf(path);
    if (drive.size() < 2 || !isUpperCase(drive[0]) || drive[1] != ':') {
        toUpper(drive);
    }
    return drive;
}

/// `path` in normal form, taken against `cwd` where it isn't absolute.
std::string absoluteNormalForm(const std::string& cwd, const std::string& path) {
    std::string absolute;
    if (!path.empty() && isPathSeparator(path[0])) {
        // Meant for drive-relative paths; that a UNC path loses its server's meaning is accepted.
        absolute = driveOf(cwd) + path;
    } else if (isAbsolutePath(path, windowsPaths)) {
        // It begins with a drive, so that backslashes would not change its normal form.
        return normalizePath(path);
    } else {
        absolute = joinPath(cwd, path, '/');
    }
    toBackslashes(absolute);
    return normalizePath(absolute);
}

/// The root of one tag: the folder of a view on the MVFS drive, or a view drive. A tag on neither
/// has none. The root can be the empty text: it is the drive of a connection without a local name.
std::optional<std::string> rootOf(const std::string& tag, const std::string& mvfsRoot,
                                  const Drives& viewDrives) {
    std::string root = upperDriveOf(tag);
    if (root == mvfsRoot) {
        const PathRange view = pathComponent(tag, 1);
        if (view.length() == 0) {
            return std::nullopt;
        }
        root.assign(tag, 0, view.end);
        capitalize(root);
        toBackslashes(root);
    } else if (viewDrives.count(root) == 0) {
        return std::nullopt;
    }
    return root;
}

/// Whether `tag` begins with the first `length` characters of `other`, as a whole name.
bool beginsAlike(const std::string& tag, const std::string& other, size_t length) {
    return tag.size() >= length && tag.compare(0, length, other, 0, length) == 0 &&
           (tag.size() == length || isPathSeparator(tag[length]));
}

/// The roots of the tags' VOBs, as far as they are on a view.
Roots rootsOf(const std::vector<std::string>& vobTags, const std::string& mvfsRoot,
              const Drives& viewDrives) {
    Roots roots;
    const std::string* last = nullptr;
    for (const std::string& tag : vobTags) {
        // The same root once more would change nothing.
        if (last != nullptr && beginsAlike(tag, *last, roots.back().size())) {
            continue;
        }
        std::optional<std::string> root = rootOf(tag, mvfsRoot, viewDrives);
        // A root of one character says nothing about a tag that goes on with a separator.
        last = root && root->size() >= 2 ? &tag : nullptr;
        if (root) {
            roots.push_back(std::move(*root));
        }
    }
    return roots;
}

const std::string& cachedRoute(Drives& viewRootCache, const std::string& key,
                               const std::string& root, const std::string& mvfsRoot,
                               const Drives& viewDrives, const MutexLock& /*held*/) {
    const auto found = viewRootCache.find(key);
    if (found != viewRootCache.end()) {
        return found->second;
    }
    // A root without another route is kept as well: the drives don't change.
    return viewRootCache.emplace(key, otherRoute(root, mvfsRoot, viewDrives)).first->second;
}

/// The normal form of `rest` below `root`.
std::string normalFormBelow(const std::string& root, const std::string& rest) {
    if (root.empty() || isPathSeparator(root.back()) || rest.empty() ||
        isAbsolutePath(rest, windowsPaths)) {
        return normalizePath(joinPath(root, rest, '/'));
    }
    // The joined text is of use for a moment only: it stays off the heap.
    boost::container::small_vector<char, 512> joined(root.begin(), root.end());
    joined.push_back('/');
    joined.insert(joined.end(), rest.begin(), rest.end());
    return normalForm(StringSpan(joined.data(), joined.size()));
}

}  // namespace

std::string otherRoute(const std::string& root, const std::string& mvfsRoot,
                       const Drives& viewDrives) {
    std::string other;
    const std::string drive = driveOf(root);
    if (drive != mvfsRoot) {
        const auto found = viewDrives.find(drive);
        if (found != viewDrives.end()) {
            other = joinPath(mvfsRoot, found->second, '/');
            if (root.size() > 3) {
                other = joinPath(other, root.substr(3), '/');
            }
        }
        return other;
    }
    const PathRange view = pathComponent(root, 1);
    if (view.length() == 0) {
        return other;
    }
    const PathRange below = pathComponent(root, 2);
    for (const auto& [viewDrive, tag] : viewDrives) {
        if (root.compare(view.begin, view.length(), tag) == 0) {
            other = viewDrive;
            if (below.length() != 0) {
                other = joinPath(other, root.substr(below.begin), '/');
            }
            break;
        }
    }
    return other;
}

std::string canonicalizeViewPath(const std::string& mvfsRoot, const Drives& viewDrives,
                                 Drives& viewRootCache, Mutex& viewRootCacheLock,
                                 const std::string& cwd, const std::string& path,
                                 const std::vector<std::string>& vobTags, std::ostream& errors) {
    std::string s = absoluteNormalForm(cwd, path);
    capitalize(s);
    const std::string drive = driveOf(s);
    if (drive != mvfsRoot && viewDrives.count(drive) == 0) {
        return s;
    }
    const Roots roots = rootsOf(vobTags, mvfsRoot, viewDrives);
    for (const std::string& root : roots) {
        if (isInPath(root, s)) {
            return s;
        }
    }

    const MutexLock lock(viewRootCacheLock);
    for (const std::string& root : roots) {
        std::string key = root;
        toBackslashes(key);
        capitalize(key);
        const std::string& other =
            cachedRoute(viewRootCache, key, root, mvfsRoot, viewDrives, lock);
        if (other.empty() || !isInPath(other, s)) {
            continue;
        }
        if (makeRelativeTo(other, s)) {
            s = normalFormBelow(key, s);
        } else {
            std::string complaint = "Couldn't make ";
            complaint.append(s).append(" relative to ").append(other).append("!\n");
            errors << complaint;
            s = normalizePath(s);
        }
        // Meant: backslashes here, though every path that is returned elsewhere has slashes.
        toBackslashes(s);
        return s;
    }
    return s;
}
