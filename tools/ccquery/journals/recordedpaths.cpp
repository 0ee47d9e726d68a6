#include "tools/ccquery/journals/recordedpaths.h"

#include <sstream>

#include <boost/container_hash/hash.hpp>

#include "clearcase/viewpaths.h"
#include "tools/ccdrives/drivelist.h"
#include "tools/ccquery/explainviewpath.h"
#include "tools/ccquery/journals/askagain.h"
#include "util/stringutilities.h"

namespace ccquery {
namespace {

/// Appends the line of a connection, or says why it can't be one.
void addConnection(const std::string& drive, const std::string& remoteName, std::string& list,
                   std::vector<std::string>& problems) {
    std::string upper = drive;
    toUpper(upper);
    const std::optional<std::string> line = ccdrives::connectionLine(
        {.localName = drive, .remoteName = remoteName, .provider = ccdrives::viewProvider});
    // A drive comes back in upper case.
    if (line && upper == drive) {
        list.append(*line).append(1, '\n');
    } else {
        problems.push_back("a list of drives can't have '" + drive + "' as " + remoteName);
    }
}

}  // namespace

std::string driveList(const RecordedDrives& drives, std::vector<std::string>& problems) {
    std::string list;
    if (!drives.mvfsRoot.empty()) {
        addConnection(drives.mvfsRoot, "\\\\view", list, problems);
    }
    for (const auto& [drive, tag] : drives.views) {
        addConnection(drive, "\\\\view\\" + tag, list, problems);
    }
    return list;
}

bool stopsHost(const std::string& cwd, const std::string& path,
               const std::vector<std::string>& vobTags, const RecordedDrives& drives) {
    const Explain explain = viewPathExplainer(
        {.mvfsRoot = drives.mvfsRoot, .viewDrives = drives.views, .cwd = cwd, .tags = vobTags});
    const Json noAnswer{{"canonical", nullptr}};
    return explain(path, noAnswer).record.at("canonical").is_null();
}

size_t RecordedPaths::Hash::operator()(size_t index) const {
    const Question& question = questions[index];
    size_t hash = std::hash<std::string>()(question.path);
    boost::hash_combine(hash, std::hash<std::string>()(question.cwd));
    for (const std::string& tag : question.vobTags) {
        boost::hash_combine(hash, std::hash<std::string>()(tag));
    }
    return hash;
}

bool RecordedPaths::Equal::operator()(size_t a, size_t b) const {
    const Question& left = questions[a];
    const Question& right = questions[b];
    // GCOVR_EXCL_BR_START: questions with the same hash are the same
    return left.path == right.path && left.cwd == right.cwd && left.vobTags == right.vobTags;
    // GCOVR_EXCL_BR_STOP
}

RecordedPaths::RecordedPaths(const Announce& announce)
    : mAnnounce(announce), mIndex(0, Hash{mQuestions}, Equal{mQuestions}) {}

void RecordedPaths::announce(const Question& question, const JournalPlace& place,
                             const std::string& problem) const {
    mAnnounce({.place = place,
               .question = viewPathQuestionText(question.path, question.cwd, question.vobTags),
               .problem = problem});
}

void RecordedPaths::addDrives(const JournalLine& line, const JournalPlace& place) {
    RecordedDrives drives{.mvfsRoot = *line.result.text, .views = line.result.drives};
    if (!mDrives) {
        mDrives = std::move(drives);
        mDrivesPlace = place;
    } else if (drives != *mDrives) {
        mAnnounce({.place = place,
                   .question = "getMvfsDrives",
                   .problem = "the drives differ from those before; the first ones are kept"});
    }
}

void RecordedPaths::addPath(const JournalLine& line, const JournalPlace& place) {
    mQuestions.push_back({.place = place,
                          .cwd = *line.arguments.cwd,
                          .path = *line.arguments.path,
                          .vobTags = line.arguments.vobTags,
                          .text = *line.result.text});
    const auto [found, isNew] = mIndex.insert(mQuestions.size() - 1);
    if (isNew) {
        return;
    }
    const Question& first = mQuestions[*found];
    const std::string text = mQuestions.back().text;
    if (text != first.text) {
        announce(first, place,
                 "the answer differs from the one before ('" + text + "' in place of '" +
                     first.text + "'); drives that change can't be recorded");
    }
    mQuestions.pop_back();
}

void RecordedPaths::check() const {
    const RecordedDrives drives = mDrives.value_or(RecordedDrives());
    const DriveMap map{drives.mvfsRoot, drives.views, DriveLetters(drives.views)};
    RootCache cache;
    for (const Question& question : mQuestions) {
        if (stopsHost(question.cwd, question.path, question.vobTags, drives)) {
            announce(question, question.place,
                     "the path can't be made absolute, which would stop the host of a fake; it is "
                     "left out");
            continue;
        }
        std::ostringstream complaints;
        const std::string text = canonicalizeViewPath(map, cache, question.cwd, question.path,
                                                      question.vobTags, complaints);
        if (text != question.text) {
            const char* const reason =
                mDrives ? "with the recorded drives; connect those that the host had"
                        : "without drives; have the journal record a call of getMvfsDrives";
            announce(question, question.place,
                     "'" + question.text + "' becomes '" + text + "' " + reason);
        }
    }
}

}  // namespace ccquery
