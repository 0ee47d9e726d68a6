#pragma once

// A file in a dynamic view can be reached by two routes: `M:\viewtag\vob\file` through the MVFS
// drive, and `X:\vob\file` through a drive that is mapped to the view. A host must see the route by
// which it knows the VOB. The functions here move a path to that route, as text. The drives are
// passed in as a `DriveMap`.

#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "clearcase/viewdrives.h"
#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"

/// The drives that lead to views. The caller owns the texts and the map.
struct DriveMap {
    const std::string& mvfsRoot;  ///< the MVFS drive in upper case ("M:"), empty if there is none
    const std::map<std::string, std::string>& tags;  ///< each other drive ("X:") with its view tag
    DriveLetters letters = DriveLetters();           ///< of `tags`; makes look-ups faster
};

/// What was found out about the roots of tags, for drives that don't change. Any thread may call
/// with the same cache.
struct RootCache {
    using Routes = std::map<std::string, std::string, std::less<>>;

    Mutex lock;
    /// A root (with backslashes, its drive in upper case) with its other route, or with an empty
    /// text if it has none. Entries are added and never changed or removed.
    Routes routes NB_GUARDED_BY(lock);
};

/// Returns the other route to the place that `root` names, or an empty text if there is none. For a
/// view drive that is the folder of its view on the MVFS drive. For such a folder it is the first
/// drive that is mapped to the view. The rest of `root` is appended to either.
[[nodiscard]] std::string otherRoute(const std::string& root, const DriveMap& drives);

/// Returns `path` on the route by which one of `vobTags` reaches it. The declaration of the same
/// name in clearcase/clearcaseconnection.h has examples.
///
/// A relative `path` is taken relative to `cwd`. A path with a leading separator, a UNC path
/// included, is appended to the first two characters of `cwd`. If the result isn't absolute, an
/// assertion stops the process.
///
/// A tag counts if it lies on a view drive, or in the folder of a view on the MVFS drive. If a
/// view is connected without a drive letter, an empty tag names it; a path that would have to move
/// to it stops the process.
///
/// A path that was moved has backslashes. So has a path that lies on the other route of a root and
/// can't be moved. Every other path is in its normal form, with forward slashes and an upper-case
/// drive. The only complaint, about a path that can't be moved, is written to `errors` in one
/// piece.
///
/// The lock of `cache` is held while the path is moved.
[[nodiscard]] std::string canonicalizeViewPath(const DriveMap& drives, RootCache& cache,
                                               const std::string& cwd, const std::string& path,
                                               const std::vector<std::string>& vobTags,
                                               std::ostream& errors) NB_EXCLUDES(cache.lock);
