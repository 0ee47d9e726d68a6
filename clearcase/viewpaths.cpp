#include "clearcase/viewpaths.h"

#include <cctype>
#include <ostream>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "util/pathfun.h"
#include "util/stringutilities.h"

namespace {

using Drives = std::map<std::string, std::string>;
using Roots = boost::container::small_vector<std::string, 8>;

std::string driveOf(const std::string& path) { return path.substr(0, 2); }

void capitalize(std::string& text) {
    if (!text.empty()) {
        text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    }
}

/// Absolute and in normal form, with an upper-case drive.
std::string tidied(const std::string& cwd, const std::string& path) {
    std::string result;
    if (!path.empty() && isPathSeparator(path[0], windowsPaths)) {
        // Meant for drive-relative paths; that a UNC path loses its server's meaning is accepted.
        result = driveOf(cwd) + path;
        toBackslashes(result);
        result = normalizePath(result);
    } else if (isAbsolutePath(path, windowsPaths)) {
        // It begins with a drive, so that backslashes would not change its normal form.
        result = normalizePath(path);
    } else {
        result = joinPath(cwd, path, '/');
        toBackslashes(result);
        result = normalizePath(result);
    }
    capitalize(result);
    return result;
}

/// Appends a root, with backslashes and its drive in upper case. A neighbour's root again would
/// change nothing: tags of one view come in a row.
void addRoot(std::string root, Roots& roots) {
    capitalize(root);
    toBackslashes(root);
    if (roots.empty() || roots.back() != root) {
        roots.push_back(std::move(root));
    }
}

/// The roots of the tags' VOBs, as far as they are on a view.
Roots rootsOf(const std::vector<std::string>& vobTags, const std::string& mvfsRoot,
              const Drives& viewDrives) {
    Roots roots;
    std::vector<PathRange> components;
    for (const std::string& tag : vobTags) {
        std::string drive = driveOf(tag);
        toUpper(drive);
        if (drive == mvfsRoot) {
            components.clear();
            splitPath(tag, components, /*rootText=*/nullptr);
            if (components.size() >= 2) {
                addRoot(tag.substr(0, components[1].end), roots);
            }
        } else if (viewDrives.count(drive) != 0) {
            addRoot(std::move(drive), roots);
        }
    }
    return roots;
}

const std::string& cachedRoute(Drives& viewRootCache, const std::string& root,
                               const std::string& mvfsRoot, const Drives& viewDrives,
                               const MutexLock& /*held*/) {
    const auto found = viewRootCache.find(root);
    if (found != viewRootCache.end()) {
        return found->second;
    }
    // A root without another route is kept as well: the drives don't change.
    return viewRootCache.emplace(root, otherRoute(root, mvfsRoot, viewDrives)).first->second;
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
    std::vector<PathRange> components;
    splitPath(root, components, /*rootText=*/nullptr);
    if (components.size() < 2) {
        return other;
    }
    const std::string view = root.substr(components[1].begin, components[1].length());
    for (const auto& [viewDrive, tag] : viewDrives) {
        if (tag == view) {
            other = viewDrive;
            if (components.size() > 2) {
                other = joinPath(other, root.substr(components[2].begin), '/');
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
    std::string s = tidied(cwd, path);
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
        const std::string& other = cachedRoute(viewRootCache, root, mvfsRoot, viewDrives, lock);
        if (other.empty() || !isInPath(other, s)) {
            continue;
        }
        if (makeRelativeTo(other, s)) {
            s = joinPath(root, s, '/');
        } else {
            errors << "Couldn't make " + s + " relative to " + other + "!\n";
        }
        // Only a path that was moved has backslashes. Meant: hosts rely on the asymmetry.
        s = normalizePath(s);
        toBackslashes(s);
        return s;
    }
    return s;
}
