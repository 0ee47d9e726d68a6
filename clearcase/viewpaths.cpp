#include "clearcase/viewpaths.h"

#include <cstddef>

#include "clearcase/viewpathmoves.h"
#include "util/pathfun.h"
#include "util/pathroot.h"

namespace {

/// A type of this file only, so that the compiler may inline the steps as it likes.
struct Unobserved : viewpathmoves::NoObserver {};

}  // namespace

std::string otherRoute(const std::string& root, const DriveMap& drives) {
    std::string other;
    const std::string drive = root.substr(0, driveLength);
    if (drive != drives.mvfsRoot) {
        const auto found = drives.tags.find(drive);
        if (found != drives.tags.end()) {
            other = joinPath(drives.mvfsRoot, found->second, '/');
            constexpr size_t belowDrive = driveLength + 1;  // after the separator
            if (root.size() > belowDrive) {
                other = joinPath(other, root.substr(belowDrive), '/');
            }
        }
        return other;
    }
    const PathRange view = pathComponent(root, 1);
    if (view.length() == 0) {
        return other;
    }
    const PathRange below = pathComponent(root, 2);
    for (const auto& [viewDrive, tag] : drives.tags) {
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

std::string canonicalizeViewPath(const DriveMap& drives, RootCache& cache, const std::string& cwd,
                                 const std::string& path, const std::vector<std::string>& vobTags,
                                 std::ostream& errors) {
    const Unobserved observer;
    PathBuffer buffer;
    const std::string_view s = viewpathmoves::absoluteNormalForm(cwd, path, buffer, observer);
    return viewpathmoves::onRouteOfTags(s, drives, cache, vobTags, errors, observer);
}
