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

#include "clearcase/viewdrives.h"
#include "util/mutex-pthreads.h"

/// The drives that lead to views, which others own.
struct ViewDrives {
    const std::string& mvfsRoot;  ///< the MVFS drive in upper case ("M:"), empty if there is none
    const std::map<std::string, std::string>& tags;  ///< each other drive ("X:") with its view tag
    DriveLetters letters = DriveLetters();           ///< those of `tags`, for speed
};

/// The other route to the place that `root` names, empty if there is none: of a view drive the
/// folder of its view on the MVFS drive, of such a folder the first drive that is mapped to the
/// view.
std::string otherRoute(const std::string& root, const ViewDrives& drives);

/// The one spelling of `path` on the route by which a tag of `vobTags` reaches it.
///
/// A relative `path` is taken against `cwd`; one with a leading separator, a UNC path included,
/// against the first two characters of `cwd`. What is not absolute then stops the process by an
/// assertion. A tag counts if it lies on a view drive, or in the folder of a view on the MVFS
/// drive; an empty one if a view is connected without a drive, which stops the process when a path
/// would have to move there. A path that was moved comes back with backslashes, as does one that
/// lies on the other route of a root and can't be moved; every other, in its normal form with an
/// upper-case drive, with forward slashes. The one complaint, about a path that can't be moved,
/// goes to `errors` in one piece.
///
/// `viewRootCache` keeps what was found out about the roots of tags, against drives that don't
/// change: a root (with backslashes, its drive in upper case) to its other route, the empty text if
/// there is none. Entries are added and never changed or removed. `viewRootCacheLock` guards it, so
/// that any thread may call with the same cache; it is held while the path is moved.
std::string canonicalizeViewPath(const ViewDrives& drives,
                                 std::map<std::string, std::string>& viewRootCache,
                                 Mutex& viewRootCacheLock, const std::string& cwd,
                                 const std::string& path, const std::vector<std::string>& vobTags,
                                 std::ostream& errors);
