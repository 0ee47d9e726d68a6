#include "clearcase/viewpaths.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <forward_list>
#include <iterator>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "util/normalform.h"
#include "util/pathbytes.h"
#include "util/pathfun.h"
#include "util/pathrelation.h"
#include "util/pathroot.h"
#include "util/stringutilities.h"

namespace {

std::string_view driveOf(std::string_view path) { return path.substr(0, driveLength); }

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
bool isSameText(const char* a, const char* b, size_t length) {
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

char upperCase(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

/// Returns the normal form of `path`, relative to `cwd` if it isn't absolute, with its first
/// character in upper case. The text is in `buffer`.
std::string_view absoluteNormalForm(const std::string& cwd, const std::string& path,
                                    PathBuffer& buffer) {
    std::string_view form;
    const bool leadingSeparator = !path.empty() && isPathSeparator(path[0]);
    if (!leadingSeparator && isAbsolutePath(path, windowsPaths)) {
        // It begins with a drive, so that backslashes would not change its normal form.
        form = normalFormIn(buffer, path, '/');
    } else {
        // Compatibility: every path with a leading separator is on the current drive, so a UNC path
        // becomes a folder of that drive.
        std::string absolute =
            leadingSeparator ? cwd.substr(0, driveLength) + path : joinPath(cwd, path, '/');
        toBackslashes(absolute);
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
bool isTidyKey(std::string_view key) {
    const std::string_view folder = key.substr(std::min(key.size(), driveLength));
    return isUpperDrive(driveOf(key)) &&
           (folder.empty() || (folder.size() > 1 && isPathSeparator(folder[0]) &&
                               !isPathSeparator(folder[1]) && !isDotName(folder.substr(1))));
}

/// Returns the normal form of `rest` below a key, with backslashes. `rest` is the end of a path in
/// normal form, and begins with a name.
std::string normalFormBelow(std::string_view root, std::string_view rest) {
    const bool joinsTidy = isTidyKey(root) && !rest.empty() && !beginsWithDrive(rest);
    if (!joinsTidy) {
        PathBuffer buffer;
        return std::string(normalFormIn(buffer, joinPath(root, rest, '/'), '\\'));
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
std::string movedPath(std::string_view s, const Root& root, const std::string& other,
                      std::ostream& errors) {
    if (const std::optional<size_t> rest = restBelow(other, s)) {
        return normalFormBelow(root.key, s.substr(*rest));
    }
    std::string complaint = "Couldn't make ";
    complaint.append(s).append(" relative to ").append(other).append("!\n");
    errors << complaint;
    PathBuffer buffer;
    return std::string(normalFormIn(buffer, s, '\\'));
}

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
    PathBuffer buffer;
    const std::string_view s = absoluteNormalForm(cwd, path, buffer);
    const std::string_view drive = driveOf(s);
    if (drive != drives.mvfsRoot && !drives.letters.isKey(drive, drives.tags)) {
        return std::string(s);
    }
    const Roots roots(vobTags, drives);
    for (const Root& root : roots) {
        if (liesInOnDrive(root.text, s)) {
            return std::string(s);
        }
    }

    const MutexLock lock(cache.lock);
    OtherRoutes otherRoutes(drives, cache);
    for (const Root& root : roots) {
        const std::string& other = otherRoutes.of(root, cache);
        if (!other.empty() && liesInOnDrive(other, s)) {
            // Compatibility: this result has backslashes, and all others have slashes, so a host
            // must unify separators before it compares.
            return movedPath(s, root, other, errors);
        }
    }
    return std::string(s);
}
