#pragma once

// The steps of canonicalizeViewPath (clearcase/viewpaths.h), for callers that also want to know why
// a path has its result. The steps tell an observer what they find.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <forward_list>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/container/small_vector.hpp>

#include "clearcase/viewdrives.h"
#include "clearcase/viewpaths.h"
#include "util/normalform.h"
#include "util/pathbytes.h"
#include "util/pathfun.h"
#include "util/pathrelation.h"
#include "util/pathroot.h"
#include "util/stringutilities.h"

namespace viewpathmoves {

/// Where a path begins before it is brought into normal form.
enum class PathStart {
    absolute,          ///< it is absolute
    driveOfDirectory,  ///< it has a leading separator, and so is on the drive of the directory
    directory,         ///< it is relative
};

/// An observer that ignores everything. Another one has functions of the same names, which are
/// called in this order, from `otherRoute` on with the cache locked. The texts are valid during the
/// call. A root has backslashes and an upper-case drive.
struct NoObserver {
    void start(PathStart /*start*/) const {}
    /// If `text` isn't absolute, an assertion stops the process after this call.
    void needsAbsolute(std::string_view /*text*/) const {}
    /// Ends the steps: the path is on no drive that leads to views.
    void onOtherDrive() const {}
    /// Ends the steps: the path lies in this root.
    void inRoot(std::string_view /*root*/) const {}
    /// The other route of a root; empty if it has none. Called for each root up to the one on whose
    /// other route the path lies.
    void otherRoute(std::string_view /*root*/, const std::string& /*other*/) const {}
    /// Ends the steps: the path is moved to the last root.
    void moved() const {}
    /// Ends the steps: the path can't be moved to the last root, which is a complaint.
    void notMoved() const {}
    /// Ends the steps: the path lies on no other route.
    void onNoRoute() const {}
};

// Each caller has the rest for itself, so that the compiler may inline it as it likes.
// NOLINTNEXTLINE(cert-dcl59-cpp): as above
namespace {

inline std::string_view driveOf(std::string_view path) { return path.substr(0, driveLength); }

template <class Word>
bool isSameWord(const char* a, const char* b) {
    Word left;
    Word right;
    std::memcpy(&left, a, sizeof left);
    std::memcpy(&right, b, sizeof right);
    return left == right;
}

/// Compares `length` characters, which are few, without a function call.
// Speed: Benchmark.CanonicalizeViewPath
inline bool isSameText(const char* a, const char* b, size_t length) {
    constexpr size_t word = sizeof(uint64_t);
    constexpr size_t half = sizeof(uint32_t);
    if (length < half) {
        return std::string_view(a, length) == std::string_view(b, length);
    }
    if (length < word) {
        return isSameWord<uint32_t>(a, b) &&
               isSameWord<uint32_t>(a + length - half, b + length - half);
    }
    for (size_t at = 0; at + word < length; at += word) {
        if (!isSameWord<uint64_t>(a + at, b + at)) {
            return false;
        }
    }
    return isSameWord<uint64_t>(a + length - word, b + length - word);
}

inline char upperCase(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

/// Returns the normal form of `path`, relative to `cwd` if it isn't absolute, with its first
/// character in upper case. The text is in `buffer`.
template <class Observer>
std::string_view absoluteNormalForm(const std::string& cwd, const std::string& path,
                                    PathBuffer& buffer, Observer& observer) {
    std::string_view form;
    const bool leadingSeparator = !path.empty() && isPathSeparator(path[0]);
    if (!leadingSeparator && isAbsolutePath(path, windowsPaths)) {
        observer.start(PathStart::absolute);
        // It begins with a drive, so that backslashes would not change its normal form.
        form = normalFormIn(buffer, path, '/');
    } else {
        observer.start(leadingSeparator ? PathStart::driveOfDirectory : PathStart::directory);
        // Compatibility: every path with a leading separator is on the current drive, so a UNC path
        // becomes a folder of that drive.
        std::string absolute =
            leadingSeparator ? cwd.substr(0, driveLength) + path : joinPath(cwd, path, '/');
        toBackslashes(absolute);
        observer.needsAbsolute(absolute);
        form = normalFormIn(buffer, absolute, '/');
    }
    char& first = *buffer.data();
    first = upperCase(first);
    return form;
}

/// The root of a VOB tag: the folder of a view on the MVFS drive, or a view drive. Both texts are
/// part of the tag, or stored in `Roots`.
struct Root {
    std::string_view text;
    /// The text with backslashes and its first character in upper case.
    std::string_view key;
};

/// The roots of the tags' VOBs that are in a view.
class Roots {
public:
    Roots(const std::vector<std::string>& vobTags, const DriveMap& drives) {
        const std::string* last = nullptr;
        for (const std::string& tag : vobTags) {
            // Adding the same root again would change nothing.
            // Speed: Benchmark.CanonicalizeViewPath
            if (last != nullptr && beginsAlike(tag, *last, mRoots.back().text.size())) {
                continue;
            }
            const size_t before = mRoots.size();
            addRootOf(tag, drives);
            // A root of one character doesn't decide for a tag that continues with a separator.
            const bool decides =
                mRoots.size() != before && mRoots.back().text.size() >= driveLength;
            last = decides ? &tag : nullptr;
        }
    }

    auto begin() const { return mRoots.begin(); }
    auto end() const { return mRoots.end(); }

private:
    /// Whether `tag` begins with the first `length` characters of `other`, and a name ends there.
    static bool beginsAlike(std::string_view tag, std::string_view other, size_t length) {
        if (tag.size() < length || !isSameText(tag.data(), other.data(), length)) {
            return false;
        }
        return tag.size() == length || isPathSeparator(tag[length]);
    }

    /// A tag on neither kind of drive has no root. The root can be the empty text, which is the
    /// drive of a connection without a local name.
    void addRootOf(std::string_view tag, const DriveMap& drives) {
        std::string_view drive = driveOf(tag);
        const bool isSpelled = isUpperDrive(drive);
        if (!isSpelled) {
            std::string upper(drive);
            toUpper(upper);
            drive = keep(std::move(upper));
        }
        if (drive == drives.mvfsRoot) {
            const PathRange view = isSpelled ? nextName(tag, driveLength) : pathComponent(tag, 1);
            if (view.length() != 0) {
                const std::string_view folder = tag.substr(0, view.end);
                const bool isKey =
                    isSpelled && std::find(folder.begin(), folder.end(), '/') == folder.end();
                const std::string_view text = isKey ? folder : keyOf(folder);
                mRoots.push_back({text, text});
            }
        } else if (drives.letters.isKey(drive, drives.tags)) {
            mRoots.push_back({drive, isSpelled ? drive : keyOf(drive)});
        }
    }

    std::string_view keyOf(std::string_view text) {
        std::string key(text);
        toBackslashes(key);
        if (!key.empty()) {
            key[0] = upperCase(key[0]);
        }
        return keep(std::move(key));
    }

    std::string_view keep(std::string text) {
        mKept.push_front(std::move(text));
        return mKept.front();
    }

    // Speed: Benchmark.CanonicalizeViewPathOfSeveralViews
    boost::container::small_vector<Root, 16> mRoots;
    std::forward_list<std::string> mKept;
};

/// The other routes of the roots of one call, from one cache, whose lock is held from the
/// constructor to the last call of `of`.
class OtherRoutes {
public:
    OtherRoutes(const DriveMap& drives, RootCache& cache) NB_REQUIRES(cache.lock)
        : mDrives(drives), mNext(cache.routes.begin()) {}

    const std::string& of(const Root& root, RootCache& cache) NB_REQUIRES(cache.lock) {
        // Tags often come in the order of their roots.
        // Speed: Benchmark.CanonicalizeViewPathOfSeveralViews
        RootCache::Routes& routes = cache.routes;
        auto found = mNext;
        if (!isAt(found, routes, root.key)) {
            found = routes.lower_bound(root.key);
            if (!isAt(found, routes, root.key)) {
                // A root without another route is stored as well: the drives don't change.
                found = routes.emplace_hint(found, root.key,
                                            otherRoute(std::string(root.text), mDrives));
            }
        }
        mNext = std::next(found);
        return found->second;
    }

private:
    static bool isAt(RootCache::Routes::iterator place, const RootCache::Routes& routes,
                     std::string_view key) {
        return place != routes.end() && place->first == key;
    }

    const DriveMap& mDrives;
    RootCache::Routes::iterator mNext;  ///< where the next root may be
};

/// Whether a key is in normal form, except that a bare drive lacks its slash.
inline bool isTidyKey(std::string_view key) {
    const std::string_view folder = key.substr(std::min(key.size(), driveLength));
    return isUpperDrive(driveOf(key)) &&
           (folder.empty() || (folder.size() > 1 && isPathSeparator(folder[0]) &&
                               !isPathSeparator(folder[1]) && !isDotName(folder.substr(1))));
}

/// Returns the normal form of `rest` below a key, with backslashes. `rest` is the end of a path in
/// normal form, and begins with a name.
template <class Observer>
std::string normalFormBelow(std::string_view root, std::string_view rest, Observer& observer) {
    const bool joinsTidy = isTidyKey(root) && !rest.empty() && !beginsWithDrive(rest);
    if (!joinsTidy) {
        PathBuffer buffer;
        const std::string joined = joinPath(root, rest, '/');
        observer.needsAbsolute(joined);
        return std::string(normalFormIn(buffer, joined, '\\'));
    }
    std::string joined;
    joined.reserve(root.size() + 1 + rest.size());
    joined.append(root).append(1, '\\').append(rest);
    char* const joinedRest = joined.data() + root.size() + 1;
    pathbytes::copySeparatedBy('\\', rest.data(), rest.size(), joinedRest);
    return joined;
}

/// Moves `s`, a path in normal form that lies on the other route of `root`, to the root's own
/// route.
template <class Observer>
std::string movedPath(std::string_view s, const Root& root, const std::string& other,
                      std::ostream& errors, Observer& observer) {
    observer.needsAbsolute(other);
    if (const std::optional<size_t> rest = restBelow(other, s)) {
        observer.moved();
        return normalFormBelow(root.key, s.substr(*rest), observer);
    }
    observer.notMoved();
    std::string complaint = "Couldn't make ";
    complaint.append(s).append(" relative to ").append(other).append("!\n");
    errors << complaint;
    PathBuffer buffer;
    return std::string(normalFormIn(buffer, s, '\\'));
}

/// Returns the result of canonicalizeViewPath for `s`, an absolute path in normal form.
template <class Observer>
std::string onRouteOfTags(std::string_view s, const DriveMap& drives, RootCache& cache,
                          const std::vector<std::string>& vobTags, std::ostream& errors,
                          Observer& observer) NB_EXCLUDES(cache.lock) {
    const std::string_view drive = driveOf(s);
    if (drive != drives.mvfsRoot && !drives.letters.isKey(drive, drives.tags)) {
        observer.onOtherDrive();
        return std::string(s);
    }
    const Roots roots(vobTags, drives);
    for (const Root& root : roots) {
        if (liesInOnDrive(root.text, s)) {
            observer.inRoot(root.key);
            return std::string(s);
        }
    }

    const MutexLock lock(cache.lock);
    OtherRoutes otherRoutes(drives, cache);
    for (const Root& root : roots) {
        const std::string& other = otherRoutes.of(root, cache);
        observer.otherRoute(root.key, other);
        if (!other.empty() && liesInOnDrive(other, s)) {
            // Compatibility: this result has backslashes, and all others have slashes, so a host
            // must unify separators before it compares.
            return movedPath(s, root, other, errors, observer);
        }
    }
    observer.onNoRoute();
    return std::string(s);
}

}  // namespace
}  // namespace viewpathmoves
