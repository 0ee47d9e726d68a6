// Paths on views. Input: a line of drives ("M: X:tag Y:tag2", where the one without a tag is the
// MVFS drive), a line with the current directory, a line of VOB tags separated by `;`, and the
// path.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <locale>
#include <sstream>
#include <string_view>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "clearcase/viewpaths.h"
#include "fuzz/fuzzinput.h"
#include "tools/ccquery/explainviewpath.h"
#include "util/assertion.h"
#include "util/pathfun.h"
#include "util/stringutilities.h"

namespace {

constexpr const char* separators = "/\\";

using Tags = std::vector<std::string>;

struct Drives {
    std::string mvfsRoot;
    std::map<std::string, std::string> views;

    bool isFirstOfItsView(const std::string& drive) const {
        const auto& view = views.at(drive);
        return std::find_if(views.begin(), views.end(), [&](const auto& entry) {
                   return entry.second == view;
               })->first == drive;
    }
};

/// A process: its drives, and what it knows about them.
class Process {
public:
    Process(const Drives& drives, const DriveLetters& letters)
        : mDrives(drives), mLetters(letters) {}

    std::string canonical(const std::string& cwd, const std::string& path, const Tags& tags) {
        std::ostringstream errors;
        std::string result = canonicalizeViewPath({mDrives.mvfsRoot, mDrives.views, mLetters},
                                                  mCache, cwd, path, tags, errors);
        NB_ASSERT(errors.str().empty());
        return result;
    }

private:
    const Drives& mDrives;
    DriveLetters mLetters;
    RootCache mCache;
};

std::string upper(const std::string& text) {
    return boost::to_upper_copy(text, std::locale::classic());
}

std::string turned(std::string path) {
    toBackslashes(path);
    return path;
}

// Windows connects drives of one letter, each once, and a view's tag is a single name.
Drives takeDrives(const std::string& line) {
    Drives drives;
    std::vector<std::string> words;
    split(line, words, " ");
    for (const std::string& word : words) {
        const std::string drive = upper(word.substr(0, 2));
        const std::string tag = word.substr(drive.size());
        if (drive.size() < 2 || drive[0] < 'A' || drive[0] > 'Z' || drive[1] != ':') {
            continue;
        }
        if (tag.empty()) {
            drives.mvfsRoot = drive;
            drives.views.erase(drive);
        } else if (drive != drives.mvfsRoot && !isDotName(tag) &&
                   tag.find_first_of(std::string("/\\:\0", 4)) == std::string::npos) {
            drives.views[drive] = tag;
        }
    }
    return drives;
}

std::string madeAbsolute(const std::string& cwd, const std::string& path) {
    if (path.find_first_of(separators) == 0) {
        return cwd.substr(0, 2) + path;
    }
    return isAbsolutePath(path, windowsPaths) ? path : joinPath(cwd, path, '/');
}

/// Where a tag's VOB lies, and the other route to it. A route that doesn't exist is empty.
struct Route {
    std::string root;
    std::string other;
};

Route routeOf(const std::string& tag, const Drives& drives) {
    const std::string drive = upper(tag.substr(0, 2));
    if (drive != drives.mvfsRoot) {
        const auto view = drives.views.find(drive);
        if (view == drives.views.end()) {
            return {};
        }
        return {drive, drives.mvfsRoot.empty() ? "" : drives.mvfsRoot + '/' + view->second};
    }
    const size_t begin = tag.find_first_not_of(separators, 2);
    if (begin == std::string::npos) {
        return {};
    }
    const size_t end = std::min(tag.find_first_of(separators, begin), tag.size());
    Route route = {drive + tag.substr(2, end - 2), ""};
    for (const auto& [viewDrive, view] : drives.views) {
        if (view == tag.substr(begin, end - begin)) {
            route.other = viewDrive;
            break;
        }
    }
    return route;
}

// Returns what is after `root` in a path in normal form.
std::string after(const std::string& root, const std::string& path) {
    const std::string rest = path.substr(root.size());
    return boost::starts_with(rest, "/") ? rest.substr(1) : rest;
}

// The rule of canonicalizeViewPath, for a path in normal form.
std::string expectedPath(const std::string& path, const Tags& tags, const Drives& drives) {
    const std::string drive = path.substr(0, 2);
    if (drive != drives.mvfsRoot && drives.views.count(drive) == 0) {
        return path;
    }
    std::vector<Route> routes;
    for (const std::string& tag : tags) {
        routes.push_back(routeOf(tag, drives));
        if (!routes.back().root.empty() && isInPath(routes.back().root, path)) {
            return path;
        }
    }
    for (const auto& [root, other] : routes) {
        if (!other.empty() && isInPath(other, path)) {
            // A name like `x:y` at the start of the rest makes the rest, and so the result,
            // absolute.
            return turned(normalizePath(joinPath(root, after(other, path), '/')));
        }
    }
    return path;
}

// `path`, which is in normal form, was moved to `moved`. The tag of its old route brings it back.
void checkWayBack(Process& process, const Drives& drives, const std::string& path,
                  const std::string& moved) {
    const bool fromView = path.substr(0, 2) != drives.mvfsRoot;
    std::string root = path.substr(0, fromView ? 2 : path.find('/', 3));
    const std::string rest = path.substr(root.size());
    // A name like `x:y` at the start of the rest was moved to a place that no tag leads back from.
    if (isAbsolutePath(after(root, path), windowsPaths)) {
        return;
    }
    if (!fromView) {
        const std::string drive = moved.substr(0, 2);
        // The folder of a view leads only to the view's first drive, and its case is the drive's.
        if (!drives.isFirstOfItsView(drive)) {
            return;
        }
        const std::string folder = drives.mvfsRoot + '/' + drives.views.at(drive);
        NB_ASSERT(upper(folder) == upper(root));
        root = folder;
    }
    NB_ASSERT(process.canonical("C:\\", moved, {root + "\\vob"}) == turned(root + rest));
}

// The explanation of a result leads to it.
void checkExplanation(const Drives& drives, const std::string& cwd, const std::string& path,
                      const Tags& tags, const std::string& result) {
    const ccquery::Explain explain = ccquery::viewPathExplainer(
        {.mvfsRoot = drives.mvfsRoot, .viewDrives = drives.views, .cwd = cwd, .tags = tags});
    NB_ASSERT(explain(path, {{"canonical", result}}).agrees);
    NB_ASSERT(!explain(path, {{"canonical", result + "x"}}).agrees);
}

void checkPath(const Drives& drives, const std::string& cwd, const std::string& path,
               const Tags& tags) {
    const std::string absolute = madeAbsolute(cwd, path);
    // If `cwd` is a share, its first two characters don't make every path absolute.
    if (!isAbsolutePath(absolute, windowsPaths)) {
        NB_ASSERT(!isAbsolutePath(cwd.substr(0, 2), windowsPaths));
        return;
    }
    std::string tidied = normalizePath(absolute);
    tidied[0] = upper(tidied)[0];

    Process process(drives, DriveLetters(drives.views));
    const std::string result = process.canonical(cwd, path, tags);
    NB_ASSERT(result == expectedPath(tidied, tags, drives));
    checkExplanation(drives, cwd, path, tags, result);
    const bool moved = result.find('\\') != std::string::npos;
    NB_ASSERT(moved || result == tidied);
    NB_ASSERT(normalizePath(result) == (moved ? normalizePath(turned(result)) : result));
    NB_ASSERT(!moved || turned(normalizePath(result)) == result);
    if (moved) {
        checkWayBack(process, drives, tidied, result);
    }
    // Known results change nothing.
    NB_ASSERT(process.canonical(cwd, path, tags) == result);
    Process other(drives, DriveLetters());
    for (const std::string& tag : tags) {
        NB_ASSERT(other.canonical(cwd, path, {tag}) == expectedPath(tidied, {tag}, drives));
    }
    NB_ASSERT(other.canonical(cwd, path, tags) == result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const Drives drives = takeDrives(takeLine(rest));
    std::string cwd = takeLine(rest);
    Tags tags;
    split(takeLine(rest), tags, ";");
    const std::string path(rest);
    if (!isAbsolutePath(cwd, windowsPaths)) {
        cwd.insert(0, "C:\\");
    }

    checkPath(drives, cwd, path, tags);
    // Checks both routes into each view, with tags on the other one.
    const std::string tail = '/' + path;
    for (const auto& [drive, view] : drives.views) {
        const std::string folder = drives.mvfsRoot + '\\' + view;
        checkPath(drives, cwd, drive + tail, {folder + "\\vob"});
        checkPath(drives, cwd, folder + tail, {drive + "\\vob"});
    }
    return 0;
}
