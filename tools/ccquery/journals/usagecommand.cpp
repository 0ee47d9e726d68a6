#include "tools/ccquery/journals/usagecommand.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tools/ccquery/configurationlines.h"
#include "tools/ccquery/journals/askagain.h"
#include "tools/ccquery/journals/askedpaths.h"
#include "tools/ccquery/journals/journaljson.h"
#include "tools/ccquery/journals/limitedmessages.h"
#include "tools/ccquery/nearlines.h"
#include "tools/shared/report.h"

namespace ccquery {

using tools::Json;
using tools::jsonLine;
using tools::oneLine;

namespace {

class UsageVisitor : public JournalVisitor {
public:
    UsageVisitor(const Query& query, const UsageSurroundings& surroundings)
        : mJournals(query.journals), mMessages(surroundings.complain) {}

    void take(const JournalLine& line, const JournalPlace& place) override {
        mHasLines = true;
        if (line.operation == Operation::lost) {
            mMissing += line.result.lines;
            mMessages.add("lines that report missing lines", placeText(mJournals, place) + ": " +
                                                                 missingText(line) +
                                                                 "; what they asked isn't counted");
        }
        if (!mAsked.take(line)) {
            mMessages.add("paths that aren't absolute",
                          placeText(mJournals, place) + ": " + questionText(line) +
                              ": a path that isn't absolute stops the host of a fake; it is left "
                              "out");
        }
    }

    void report(JournalProblem kind, const JournalPlace& place,
                const std::string& problem) override {
        reportProblem(mJournals, kind, place, problem, mMessages);
    }

    void finish() { mMessages.finish(); }
    bool hasLines() const { return mHasLines; }
    /// How many lines the journals lack.
    uint64_t missing() const { return mMissing; }
    const AskedPaths& asked() const { return mAsked; }

private:
    const std::vector<std::string>& mJournals;
    LimitedMessages mMessages;
    AskedPaths mAsked;
    uint64_t mMissing = 0;
    bool mHasLines = false;
};

/// A line of the configuration that may have been meant.
struct Near {
    size_t number;
    std::string text;
    std::string why;
};

struct Unanswered {
    std::string path;
    uint64_t count;
    std::vector<Near> nearest;
};

/// What the journals have used of a configuration.
class Usage {
public:
    /// `asked` must outlive the object.
    Usage(const AskedPaths& asked, const UsageSurroundings& surroundings)
        : mExists(surroundings.exists) {
        const ConfigurationLines plain(surroundings.configuration, /*viewRootPrefix=*/"");
        mIsUsed.resize(plain.lines().size() + 1);
        for (const auto& [viewRoot, counts] : asked.byViewRoot()) {
            takePaths(ConfigurationLines(surroundings.configuration, viewRoot), counts);
        }
        for (const ConfigurationLine& line : plain.lines()) {
            const bool isVob = line.kind == LineKind::vob;
            if (!isVob && line.kind != LineKind::element) {
                continue;
            }
            ++mLineCount;
            if (isVob ? !asked.probesVobs() : !mIsUsed[line.number]) {
                mUnused.emplace_back(line.number, line.trimmed);
            }
        }
        std::sort(mUnanswered.begin(), mUnanswered.end(),
                  [](const Unanswered& a, const Unanswered& b) {
                      return a.count != b.count ? a.count > b.count : a.path < b.path;
                  });
    }

    const std::vector<std::pair<size_t, std::string>>& unused() const { return mUnused; }
    const std::vector<Unanswered>& unanswered() const { return mUnanswered; }
    uint64_t lineCount() const { return mLineCount; }
    uint64_t pathCount() const { return mPaths.size(); }

private:
    void takePaths(const ConfigurationLines& lines, const AskedPaths::Counts& counts) {
        std::optional<NearLines> nearest;  // takes time to make, and is seldom needed
        for (const auto& [path, count] : counts) {
            mPaths.insert(path);
            if (const ConfigurationLine* const line = lines.deciding(elementKey(path))) {
                mIsUsed[line->number] = true;
            } else if (!mExists(path)) {
                if (!nearest) {
                    nearest.emplace(lines);
                }
                addUnanswered(path, count, nearest->of(path));
            }
        }
    }

    /// Hosts with several values of CLEARCASE_ROOT may ask about one path. The first that has near
    /// lines decides about them.
    void addUnanswered(const std::string& path, uint64_t count,
                       const std::vector<NearLine>& nearest) {
        const auto [found, isNew] = mUnansweredByPath.emplace(path, mUnanswered.size());
        if (isNew) {
            mUnanswered.push_back({path, 0, {}});
        }
        Unanswered& question = mUnanswered[found->second];
        question.count += count;
        if (question.nearest.empty()) {
            for (const NearLine& line : nearest) {
                question.nearest.push_back(
                    {line.line->number, std::string(line.line->trimmed), line.why});
            }
        }
    }

    const std::function<bool(const std::string&)>& mExists;
    std::vector<bool> mIsUsed;  ///< by the number of the line
    std::vector<std::pair<size_t, std::string>> mUnused;
    std::vector<Unanswered> mUnanswered;
    uint64_t mLineCount = 0;
    /// Views of what was asked.
    std::unordered_set<std::string_view> mPaths;
    std::unordered_map<std::string_view, size_t> mUnansweredByPath;  ///< indices, until sorted
};

std::string times(uint64_t count) { return count == 1 ? "once" : std::to_string(count) + " times"; }

void printText(const Usage& usage, uint64_t missing, const UsageSurroundings& surroundings) {
    const auto place = [&](size_t number) {
        return surroundings.configurationFile + ':' + std::to_string(number) + ": ";
    };
    for (const auto& [number, text] : usage.unused()) {
        surroundings.print(oneLine(place(number) + "never used: " + text) + '\n');
    }
    for (const Unanswered& question : usage.unanswered()) {
        std::string text =
            oneLine("no answer, asked " + times(question.count) + ": " + question.path) + '\n';
        for (const Near& nearest : question.nearest) {
            text += "    " +
                    oneLine(place(nearest.number) + nearest.text + "  (" + nearest.why + ")") +
                    '\n';
        }
        surroundings.print(text);
    }
    surroundings.print(std::to_string(usage.unused().size()) + " of " +
                       std::to_string(usage.lineCount()) + " lines never used, " +
                       std::to_string(usage.unanswered().size()) + " of " +
                       std::to_string(usage.pathCount()) + " paths without an answer" +
                       (missing == 0 ? "" : ", " + std::to_string(missing) + " missing") + '\n');
}

void printJson(const Usage& usage, uint64_t missing, const UsageSurroundings& surroundings) {
    for (const auto& [number, text] : usage.unused()) {
        surroundings.print(jsonLine({{"line", number}, {"text", journalJson(text)}}));
    }
    for (const Unanswered& question : usage.unanswered()) {
        Json nearest = Json::array();
        for (const Near& line : question.nearest) {
            nearest.push_back({{"line", line.number},
                               {"text", journalJson(line.text)},
                               {"why", journalJson(line.why)}});
        }
        surroundings.print(jsonLine({{"question", journalJson(question.path)},
                                     {"count", question.count},
                                     {"near", nearest}}));
    }
    Json summary;
    summary["lines"] = usage.lineCount();
    summary["neverUsed"] = usage.unused().size();
    summary["paths"] = usage.pathCount();
    summary["withoutAnswer"] = usage.unanswered().size();
    summary["missing"] = missing;
    surroundings.print(jsonLine({{"summary", summary}}));
}

}  // namespace

ExitCode usage(const Query& query, const UsageSurroundings& surroundings) {
    UsageVisitor visitor(query, surroundings);
    readJournals(query.journals, surroundings.source, visitor);
    visitor.finish();
    if (!visitor.hasLines()) {
        return exitNoAnswer;
    }
    const Usage found(visitor.asked(), surroundings);
    if (query.json) {
        printJson(found, visitor.missing(), surroundings);
    } else {
        printText(found, visitor.missing(), surroundings);
    }
    const bool isClean = found.unused().empty() && found.unanswered().empty();
    return isClean ? exitAnswered : exitComplaints;
}

}  // namespace ccquery
