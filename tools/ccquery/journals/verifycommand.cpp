#include "tools/ccquery/journals/verifycommand.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "tools/ccquery/journals/askagain.h"
#include "tools/ccquery/journals/journaljson.h"
#include "tools/ccquery/journals/limitedmessages.h"
#include "tools/ccquery/journals/recordedconnections.h"
#include "tools/ccquery/journals/recordedpaths.h"
#include "tools/shared/report.h"
#include "util/pathfun.h"

namespace ccquery {

using tools::Colour;
using tools::jsonLine;
using tools::oneLine;

namespace {

bool contains(const std::vector<std::string>& list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

/// Whether asking changes something beyond the connection.
bool isAct(Operation operation) {
    return operation == Operation::probeVobs || operation == Operation::startSession ||
           operation == Operation::killConnection;
}

/// Asks each line that it gets, and prints what differs.
class VerifyVisitor : public JournalVisitor {
public:
    VerifyVisitor(const Query& query, const VerifySurroundings& surroundings)
        : mQuery(query),
          mSurroundings(surroundings),
          mMessages(surroundings.complain),
          mConnections(surroundings.connect, surroundings.setViewRoot) {}

    void take(const JournalLine& line, const JournalPlace& place) override {
        switch (line.operation) {
            case Operation::connect:
                mConnections.begin(line);
                break;
            case Operation::disconnect:
                mConnections.end(line);
                break;
            case Operation::lost:
                mLost += line.result.lines;
                mMessages.add("lines that report missing lines", placeText(mQuery.journals, place) +
                                                                     ": " + missingText(line) +
                                                                     "; they can't be asked");
                break;
            default:
                ask(line, place);
        }
    }

    void report(JournalProblem kind, const JournalPlace& place,
                const std::string& problem) override {
        reportProblem(mQuery.journals, kind, place, problem, mMessages);
    }

    ExitCode finish() {
        mMessages.finish();
        mSurroundings.print(mQuery.json ? jsonSummary() : textSummary());
        if (mAsked == 0) {
            mSurroundings.complain(
                mHasActs ? "no question could be asked; let --ask name an operation, "
                           "or name another journal"
                         : "no question could be asked; name a journal that has some");
            return exitNoAnswer;
        }
        return mDifferent == 0 ? exitAnswered : exitComplaints;
    }

private:
    void ask(const JournalLine& line, const JournalPlace& place) {
        const std::string operation(operationName(line.operation));
        if (isAct(line.operation) && !contains(mQuery.asked, operation)) {
            ++mNotAsked[operation];
            mHasActs = true;
            return;
        }
        ClearCaseConnection& connection = mConnections.of(line);
        if (stopsProcess(line, connection)) {
            ++mNotAsked[operation];
            mMessages.add("questions that would stop the process",
                          placeText(mQuery.journals, place) + ": " + questionText(line) +
                              ": it would stop the process of a fake; it isn't asked");
            return;
        }
        ++mAsked;
        const JournalLine answer = askAgain(connection, line);
        std::vector<AnswerDifference> found = differences(line, answer);
        found.erase(std::remove_if(found.begin(), found.end(),
                                   [this](const AnswerDifference& difference) {
                                       return contains(mQuery.ignored, difference.field);
                                   }),
                    found.end());
        if (!found.empty()) {
            ++mDifferent;
            mSurroundings.print(mQuery.json ? jsonDifference(line, place, answer)
                                            : textDifference(line, place, found));
        }
    }

    static bool stopsProcess(const JournalLine& line, ClearCaseConnection& connection) {
        const JournalFields& arguments = line.arguments;
        if (line.operation == Operation::getElementStatus) {
            return !arguments.path || !isAbsolutePath(*arguments.path, windowsPaths);
        }
        if (line.operation != Operation::canonicalizeViewPath) {
            return false;
        }
        // Without tags nothing moves, whatever the drives are.
        const RecordedDrives drives =
            arguments.vobTags.empty() ? RecordedDrives() : drivesOf(connection);
        return stopsHost(*arguments.cwd, *arguments.path, arguments.vobTags, drives);
    }

    /// Returns none for a library that throws, which isn't a fake: it may answer nevertheless.
    static RecordedDrives drivesOf(ClearCaseConnection& connection) {
        RecordedDrives drives;
        try {
            drives.mvfsRoot = connection.getMvfsDrives(drives.views);
            return drives;
        } catch (...) {
            return {};
        }
    }

    std::string textDifference(const JournalLine& line, const JournalPlace& place,
                               const std::vector<AnswerDifference>& found) const {
        std::string text =
            oneLine(placeText(mQuery.journals, place) + ": " + questionText(line)) + '\n';
        for (const AnswerDifference& difference : found) {
            if (difference.recorded) {
                text += answerLine(Colour::removed, "- ", difference.name, *difference.recorded);
            }
            if (difference.answered) {
                text += answerLine(Colour::added, "+ ", difference.name, *difference.answered);
            }
        }
        return text;
    }

    std::string answerLine(Colour colour, const std::string& sign, const std::string& name,
                           const std::string& value) const {
        return mSurroundings.painter.paint(colour, sign + oneLine(name + ": " + value)) + '\n';
    }

    std::string jsonDifference(const JournalLine& line, const JournalPlace& place,
                               const JournalLine& answer) const {
        Json record;
        record["file"] = mQuery.journals[place.file];
        record["line"] = place.line;
        record["operation"] = operationName(line.operation);
        record["arguments"] = argumentsJson(line);
        record["recorded"] = resultJson(line);
        record["answered"] = resultJson(answer);
        return jsonLine(record);
    }

    std::string textSummary() const {
        std::string text =
            std::to_string(mAsked) + " asked, " + std::to_string(mDifferent) + " different";
        for (const auto& [operation, count] : mNotAsked) {
            text.append(", ").append(std::to_string(count)).append(" of ").append(operation);
            text += " not asked";
        }
        if (mLost != 0) {
            text += ", " + std::to_string(mLost) + " missing";
        }
        return text + '\n';
    }

    std::string jsonSummary() const {
        Json notAsked = Json::object();
        for (const auto& [operation, count] : mNotAsked) {
            notAsked[operation] = count;
        }
        return jsonLine({{"summary",
                          {{"asked", mAsked},
                           {"different", mDifferent},
                           {"notAsked", notAsked},
                           {"missing", mLost}}}});
    }

    const Query& mQuery;
    const VerifySurroundings& mSurroundings;
    LimitedMessages mMessages;
    RecordedConnections mConnections;
    uint64_t mAsked = 0;
    uint64_t mDifferent = 0;
    uint64_t mLost = 0;
    std::map<std::string, uint64_t> mNotAsked;  ///< by operation
    bool mHasActs = false;                      ///< whether some of them would change something
};

}  // namespace

ExitCode verify(const Query& query, const VerifySurroundings& surroundings) {
    VerifyVisitor visitor(query, surroundings);
    readJournals(query.journals, surroundings.source, visitor);
    return visitor.finish();
}

}  // namespace ccquery
