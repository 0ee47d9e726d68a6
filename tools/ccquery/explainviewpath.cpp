#include "tools/ccquery/explainviewpath.h"

#include <memory>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "clearcase/viewpathmoves.h"
#include "clearcase/viewpaths.h"

namespace ccquery {
namespace {

using viewpathmoves::PathStart;

/// A path that isn't absolute where it must be: the fake would stop the process.
struct Stop {
    std::string path;
};

/// Remembers what the steps of one path find. The rule is the one that ends the steps, or the one
/// that is being applied.
struct Steps {
    void start(PathStart where) { begin = where; }
    static void needsAbsolute(std::string_view text) {
        if (!isAbsolutePath(text, windowsPaths)) {
            throw Stop{std::string(text)};
        }
    }
    void onOtherDrive() { end(3, "it is on no drive that leads to views, and stays"); }
    void inRoot(std::string_view root) {
        end(4, "it lies in the root " + std::string(root) + ", and stays");
    }
    void otherRoute(std::string_view root, const std::string& other) {
        rule = 5;
        lastRoot = root;
        otherRoutes[lastRoot] = other;
    }
    void moved() {
        end(5, "it lies on the other route of the root " + lastRoot + ", and moves there");
    }
    void notMoved() {
        end(5, "it lies on the other route of the root " + lastRoot +
                   ", couldn't be made relative to " + otherRoutes[lastRoot] +
                   ", and stays, with backslashes");
    }
    void onNoRoute() { end(6, "it lies in no root and on no other route of one, and stays"); }

    void end(int number, std::string text) {
        rule = number;
        why = std::move(text);
    }

    PathStart begin = PathStart::absolute;
    std::string form;  ///< empty if there is none
    std::map<std::string, std::string> otherRoutes;
    std::string lastRoot;
    int rule = 1;
    std::string why;
    std::optional<std::string> result;  ///< none if the process would stop
};

const char* nameOf(PathStart start) {
    switch (start) {
        case PathStart::absolute:
            return "absolute";
        case PathStart::driveOfDirectory:
            return "driveOfDirectory";
        default:
            return "directory";
    }
}

/// A tag with its root, which has backslashes and an upper-case drive.
struct TagRoot {
    std::string tag;
    std::string text;  ///< as paths are compared with it
    std::optional<std::string> key;
};

class ViewPathExplainer {
public:
    explicit ViewPathExplainer(ViewPathSources sources)
        : mSources(std::move(sources)), mLetters(mSources.viewDrives) {
        for (const std::string& tag : mSources.tags) {
            const std::vector<std::string> one = {tag};
            const viewpathmoves::Roots roots(one, drives());
            TagRoot& added = mTags.emplace_back();
            added.tag = tag;
            for (const auto& root : roots) {
                added.text = root.text;
                added.key = root.key;
            }
        }
    }
    ViewPathExplainer(const ViewPathExplainer&) = delete;
    ViewPathExplainer& operator=(const ViewPathExplainer&) = delete;

    Explanation explain(const std::string& path, const Json& answer) {
        const Steps steps = stepsOf(path);
        Explanation result;
        addForm(steps, result);
        addTags(steps, result);
        result.lines.push_back("rule " + std::to_string(steps.rule) + ": " + steps.why);
        result.record["rule"] = steps.rule;
        result.record["why"] = steps.why;
        result.record["canonical"] = steps.result ? Json(*steps.result) : Json(nullptr);
        result.agrees = result.record["canonical"] == answer.at("canonical");
        result.record["agrees"] = result.agrees;
        if (!result.agrees) {
            result.lines.push_back(
                (steps.result ? "that makes it " + *steps.result : "that stops the process") +
                ", but the library answers otherwise: it is another library");
        }
        return result;
    }

private:
    DriveMap drives() const { return {mSources.mvfsRoot, mSources.viewDrives, mLetters}; }

    /// Takes the steps of the library.
    Steps stepsOf(const std::string& path) {
        Steps steps;
        std::ostringstream complaint;  // the library has printed it
        PathBuffer buffer;
        try {
            const std::string_view form =
                viewpathmoves::absoluteNormalForm(mSources.cwd, path, buffer, steps);
            steps.form = form;
            steps.result = viewpathmoves::onRouteOfTags(form, drives(), mCache, mSources.tags,
                                                        complaint, steps);
        } catch (const Stop& stop) {
            steps.end(steps.rule, "'" + stop.path + "' isn't absolute, which stops the process");
        }
        return steps;
    }

    void addForm(const Steps& steps, Explanation& result) const {
        result.record["start"] = nameOf(steps.begin);
        result.record["form"] = steps.form.empty() ? Json(nullptr) : Json(steps.form);
        if (steps.form.empty()) {
            return;
        }
        const char* const begins[] = {"it is absolute", "it begins on the drive of ",
                                      "it is relative to "};
        const bool isAbsolute = steps.begin == PathStart::absolute;
        result.lines.push_back("taken as " + steps.form + ": " +
                               begins[static_cast<size_t>(steps.begin)] +
                               (isAbsolute ? "" : mSources.cwd));
    }

    void addTags(const Steps& steps, Explanation& result) const {
        Json records = Json::array();
        for (const TagRoot& tag : mTags) {
            Json& record = records.emplace_back(Json{{"tag", tag.tag}, {"root", nullptr}});
            if (tag.key) {
                addRoot(tag, steps, record, result);
            } else {
                result.lines.push_back("tag " + tag.tag + ": no root, since it is neither in a " +
                                       "view on the MVFS drive" + named(mSources.mvfsRoot) +
                                       " nor on a view drive" + named(viewDriveNames()));
            }
        }
        result.record["tags"] = records;
    }

    void addRoot(const TagRoot& tag, const Steps& steps, Json& record, Explanation& result) const {
        const bool holds = !steps.form.empty() && liesInOnDrive(tag.text, steps.form);
        record["root"] = *tag.key;
        record["holds"] = holds;
        std::string line = "tag " + tag.tag + ": root " + *tag.key;
        line += holds ? ", which holds it" : "";
        const auto route = steps.otherRoutes.find(*tag.key);
        if (route != steps.otherRoutes.end()) {
            const std::string& other = route->second;
            record["otherRoute"] = other.empty() ? Json(nullptr) : Json(other);
            line += other.empty() ? ", which has no other route" : ", other route " + other;
        }
        result.lines.push_back(line);
    }

    std::string viewDriveNames() const {
        std::string names;
        for (const auto& [drive, view] : mSources.viewDrives) {
            names += (names.empty() ? "" : ", ") + drive;
        }
        return names;
    }

    /// Returns " (NAMES)", or " (there is none)".
    static std::string named(const std::string& names) {
        return " (" + (names.empty() ? "there is none" : names) + ")";
    }

    const ViewPathSources mSources;
    const DriveLetters mLetters;
    std::vector<TagRoot> mTags;
    RootCache mCache;
};

}  // namespace

Explain viewPathExplainer(ViewPathSources sources) {
    const auto explainer = std::make_shared<ViewPathExplainer>(std::move(sources));
    return [explainer](const std::string& path, const Json& answer) {
        return explainer->explain(path, answer);
    };
}

}  // namespace ccquery
