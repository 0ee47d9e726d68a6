#include "tools/ccquery/explainstatus.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "clearcase/configuration.h"
#include "clearcase/elementstatus.h"
#include "tools/ccquery/ask.h"
#include "tools/ccquery/configurationlines.h"
#include "tools/ccquery/nearlines.h"
#include "util/pathfun.h"

namespace ccquery {
namespace {

/// What the fake answers about an element.
struct Status {
    ElementType type = elementViewPrivate;
    std::string version = {};
    std::optional<std::string> target = {};

    /// With the fields that an answer has.
    Json record() const {
        return {{"type", type},
                {"typeName", elementTypeName(type).value()},
                {"version", version},
                {"target", target ? Json(*target) : Json(nullptr)}};
    }

    bool isIn(const Json& answer) const {
        const Json own = record();
        const auto& fields = own.items();
        return std::all_of(fields.begin(), fields.end(), [&](const auto& field) {
            return answer.at(field.key()) == field.value();
        });
    }

    std::string text() const {
        return elementTypeName(type).value() + (version.empty() ? "" : " " + version) +
               (target ? " to '" + *target + "'" : "");
    }
};

/// What a configuration says about the element with a key, or the defaults if it says nothing.
Status configured(const ElementIndex& elements, const std::string& path) {
    const std::string notWritten(1, '\0');  // no link has this target
    Status status;
    std::string target = notWritten;
    status.type = configuredStatus(elements, path.c_str(), &status.version, &target)
                      .value_or(elementViewPrivate);
    status.target = target == notWritten ? std::nullopt : std::optional(target);
    return status;
}

class StatusExplainer {
public:
    explicit StatusExplainer(StatusSources sources)
        : mSources(std::move(sources)),
          mLines(mSources.configText.value_or(""), mSources.viewRootPrefix),
          mNearLines(mLines) {}

    Explanation explain(const std::string& asked, const Json& answer) const {
        // A connection reads up to a null character.
        const std::string path = asked.substr(0, asked.find('\0'));
        if (!isAbsolutePath(path, windowsPaths)) {
            return explainStop(path);
        }
        const std::string key = elementKey(path);
        Explanation result{.record = {{"key", key}}, .lines = {"key: " + key}};
        Status status = configured(mLines.configuration().index, path);
        if (const ConfigurationLine* const line = mLines.deciding(key)) {
            addLine(*line, key, result);
        } else {
            status.type = addFile(path, result);
            addNearLines(path, result);
        }
        result.agrees = status.isIn(answer);
        result.record["answer"] = status.record();
        result.record["agrees"] = result.agrees;
        if (!result.agrees) {
            result.lines.push_back("that makes it " + status.text() +
                                   ", but the library answers otherwise: it is another library, or "
                                   "a file has changed");
        }
        return result;
    }

private:
    static Explanation explainStop(const std::string& path) {
        return {.record = {{"key", nullptr}, {"agrees", false}},
                .lines = {"'" + path +
                          "' isn't absolute, which stops the process, but the library answers: it "
                          "is another library"},
                .agrees = false};
    }

    std::string place(size_t number) const {
        return mSources.configName + ":" + std::to_string(number);
    }

    Json lineRecord(const ConfigurationLine& line) const {
        return {{"file", mSources.configName},
                {"line", line.number},
                {"text", std::string(line.trimmed)}};
    }

    void addLine(const ConfigurationLine& line, const std::string& key, Explanation& result) const {
        const bool isFirst = line.key == key;
        const std::string by = mSources.viewRootPrefix.empty() ? ""
                               : isFirst                       ? " by the normal form of its path"
                                         : " by CLEARCASE_ROOT and its path as spelled";
        result.lines.push_back("decided by " + place(line.number) + by + ": " +
                               std::string(line.trimmed));
        result.record["decidedBy"] = "line";
        result.record["line"] = lineRecord(line);
        result.record["matched"] = isFirst ? "path" : "rootAndPath";
        if (line.unknownType) {
            std::string& text = result.lines.emplace_back("'");
            text.append(*line.unknownType).append("' is no type, and so makes it a link");
        }
        const size_t before = isFirst ? line.keyBefore : line.secondKeyBefore;
        if (before != 0) {
            result.lines.push_back("replaces " + place(before) + ": " +
                                   std::string(mLines.line(before).trimmed));
        }
        result.record["replaces"] = before == 0 ? Json(nullptr) : lineRecord(mLines.line(before));
    }

    /// Returns the type that the file at `path` has.
    ElementType addFile(const std::string& path, Explanation& result) const {
        result.lines.push_back(
            mSources.configText ? "no line of " + mSources.configName + " has this key"
                                : mSources.configName + " can't be read, and so counts as empty");
        result.record["config"] = mSources.configName;
        result.record["configIsRead"] = mSources.configText.has_value();
        const std::optional<FileFacts> file = mSources.look(path);
        if (!file) {
            result.lines.emplace_back("decided by the disk: nothing is there that can be opened");
            result.record["decidedBy"] = "nothing";
            return elementViewPrivate;
        }
        const char* const attribute = file->isDirectory  ? "directory"
                                      : file->isReadOnly ? "read-only"
                                                         : "writable";
        result.lines.push_back(std::string("decided by the disk: ") +
                               (file->isDirectory ? "it is a " : "it is a file that is ") +
                               attribute);
        result.record["decidedBy"] = "file";
        result.record["attribute"] = attribute;
        return statusOfFile(file->isDirectory, file->isReadOnly);
    }

    void addNearLines(const std::string& path, Explanation& result) const {
        Json records = Json::array();
        for (const NearLine& nearLine : mNearLines.of(path)) {
            result.lines.push_back("near: " + place(nearLine.line->number) + ": " +
                                   std::string(nearLine.line->trimmed) + " (" + nearLine.why + ")");
            records.push_back(lineRecord(*nearLine.line));
            records.back()["why"] = nearLine.why;
        }
        result.record["near"] = records;
    }

    StatusSources mSources;
    ConfigurationLines mLines;
    NearLines mNearLines;
};

}  // namespace

Explain statusExplainer(StatusSources sources) {
    const auto explainer = std::make_shared<const StatusExplainer>(std::move(sources));
    return [explainer](const std::string& path, const Json& answer) {
        return explainer->explain(path, answer);
    };
}

}  // namespace ccquery
