#include "tools/ccquery/journals/recordcommand.h"

#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>

#include "tools/ccquery/journals/limitedmessages.h"
#include "tools/ccquery/journals/recorder.h"

namespace ccquery {
namespace {

/// Hands the lines to a recorder, and says what it announces.
class RecordVisitor : public JournalVisitor {
public:
    RecordVisitor(const Query& query, const RecordSurroundings& surroundings)
        : mJournals(query.journals),
          mComplain(surroundings.complain),
          mMessages(mComplain),
          mRecorder([this](const Announcement& announcement) { announce(announcement); }) {}

    void take(const JournalLine& line, const JournalPlace& place) override {
        mHasLines = true;
        mRecorder.take(line, place);
    }

    void report(JournalProblem kind, const JournalPlace& place,
                const std::string& problem) override {
        mIsWhole = false;
        reportProblem(mJournals, kind, place, problem, mMessages);
    }

    Recording finish(bool withDrives) {
        std::string source;
        for (const std::string& journal : mJournals) {
            source += (source.empty() ? "" : ", ") + journal;
        }
        return mRecorder.finish(source, withDrives);
    }

    void finishMessages() { mMessages.finish(); }

    bool hasLines() const { return mHasLines; }
    /// Whether each line is reproduced.
    bool isWhole() const { return mIsWhole; }

private:
    void announce(const Announcement& announcement) {
        mIsWhole = mIsWhole && announcement.isNote;
        std::string message = announcement.question + ": " + announcement.problem;
        const std::string place = placeText(mJournals, announcement.place) + ": ";
        if (mAnnounced.insert(message).second) {
            mComplain(place + message);
        }
    }

    const std::vector<std::string>& mJournals;
    const LimitedMessages::Complain mComplain;
    LimitedMessages mMessages;
    /// What has been said of a question is said once, at its first line.
    std::unordered_set<std::string> mAnnounced;
    Recorder mRecorder;
    bool mHasLines = false;
    bool mIsWhole = true;
};

void checkFiles(const Query& query, const RecordSurroundings& surroundings) {
    const bool writesBoth = !query.output.empty() && !query.drives.empty();
    if (writesBoth && surroundings.isSamePath(query.output, query.drives)) {
        throw std::runtime_error("--output and --drives both name '" + query.output +
                                 "'; name two files");
    }
    for (const std::string* const file : {&query.output, &query.drives}) {
        if (file->empty()) {
            continue;
        }
        for (const std::string& journal : query.journals) {
            if (surroundings.isSamePath(*file, journal)) {
                throw std::runtime_error("'" + *file +
                                         "' is a journal that is read; name another file");
            }
        }
        if (!query.force && surroundings.exists(*file)) {
            throw std::runtime_error("'" + *file +
                                     "' is there already; name another file, or replace it by "
                                     "--force");
        }
    }
}

}  // namespace

ExitCode record(const Query& query, const RecordSurroundings& surroundings) {
    checkFiles(query, surroundings);
    RecordVisitor visitor(query, surroundings);
    readJournals(query.journals, surroundings.source, visitor);
    if (!visitor.hasLines()) {
        visitor.finishMessages();
        return exitNoAnswer;
    }
    const Recording recording = visitor.finish(!query.drives.empty());
    visitor.finishMessages();
    if (!query.drives.empty()) {
        surroundings.write(query.drives, recording.drives, query.force);
    }
    if (query.output.empty()) {
        surroundings.print(recording.configuration);
    } else {
        surroundings.write(query.output, recording.configuration, query.force);
    }
    return visitor.isWhole() ? exitAnswered : exitComplaints;
}

}  // namespace ccquery
