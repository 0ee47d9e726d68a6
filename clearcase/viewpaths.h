#pragma once

// One file in a dynamic view has two routes: `M:\viewtag\vob\file` through the MVFS drive, and
// `X:\vob\file` through a drive that is mapped to the view. A host must see the one by which it
// knows the VOB. Here a path is moved to that route, as text. The drives come in as values:
// `mvfsRoot`, the MVFS drive in upper case ("M:"), empty if there is none, and `viewDrives`, each
// other drive in upper case ("X:") with its view tag.

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "util/mutex-pthreads.h"

/// What has been found out about the roots of VOBs, against one set of drives that doesn't change.
struct ViewRootCache {
    /// A root (with backslashes, its drive in upper case) to the other route to the same place, the
    /// empty text if there is none. Entries are added and never changed or removed.
    std::map<std::string, std::string> viewRootCache;
    /// Guards the map.
    Mutex viewRootCacheLock;
};

/// The other route to the place that `root` names, empty if there is none: of a view drive the
/// folder of its view on the MVFS drive, of such a folder the first drive that is mapped to the
/// view.
std::string otherRoute(const std::string& root, const std::string& mvfsRoot,
                       const std::map<std::string, std::string>& viewDrives);

/// The one spelling of `path` on the route by which a tag of `vobTags` reaches it.
///
/// A relative `path` is taken against `cwd`; one with a leading separator, a UNC path included,
/// against the first two characters of `cwd`. What is not absolute then stops the process by an
/// assertion. A tag that lies on no view drive counts for nothing. A path that was moved comes back
/// with backslashes; every other, in its normal form with an upper-case drive, with forward
/// slashes. The one complaint goes to `errors` in one piece. Any thread may call it, with one
/// `cache` for all.
std::string canonicalizeViewPath(const std::string& mvfsRoot,
                                 const std::map<std::string, std::string>& viewDrives,
                                 ViewRootCache& cache, const std::string& cwd,
                                 const std::string& path, const std::vector<std::string>& vobTags,
                                 std::ostream& errors);
