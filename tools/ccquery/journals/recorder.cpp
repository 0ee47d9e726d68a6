#include "tools/ccquery/journals/recorder.h"

#include "clearcase/fakeanswers.h"
#include "tools/ccquery/journals/askagain.h"
#include "tools/shared/report.h"
#include "util/pathfun.h"

namespace ccquery {

using tools::oneLine;

namespace {

/// Returns how the fake answers a call that it always refuses, or null for another operation.
const char* refusalOf(Operation operation) {
    switch (operation) {
        case Operation::startSession:
            return fakeanswers::noSessions;
        case Operation::killConnection:
            return fakeanswers::noConnection;
        default:
            return nullptr;
    }
}

}  // namespace

Recorder::Recorder(Announce announce)
    : mAnnounce(std::move(announce)), mStatus(mAnnounce), mPaths(mAnnounce), mVobs(mAnnounce) {}

void Recorder::announce(const JournalLine& line, const JournalPlace& place,
                        const std::string& problem) const {
    const std::string operation(operationName(line.operation));
    mAnnounce({.place = place, .question = operation, .problem = problem});
}

size_t Recorder::viewRootOf(const JournalLine& line) const {
    const auto found = mConnections.find({line.process, line.connection});
    return found == mConnections.end() ? 0 : found->second;
}

void Recorder::takeConnect(const JournalLine& line) {
    const std::string root = line.result.viewRoot.value_or("");
    const auto [found, isNew] = mViewRootNumbers.emplace(root, mViewRoots.size());
    if (isNew) {
        mViewRoots.push_back(root);
    }
    mConnections[{line.process, line.connection}] = found->second;
}

void Recorder::take(const JournalLine& line, const JournalPlace& place) {
    if (line.failed) {
        takeException(line, place);
    } else if (refusalOf(line.operation) != nullptr) {
        announce(line, place, "it succeeded, and a fake always refuses it");
    } else {
        takeAnswer(line, place);
    }
}

void Recorder::takeAnswer(const JournalLine& line, const JournalPlace& place) {
    switch (line.operation) {
        case Operation::connect:
            takeConnect(line);
            break;
        case Operation::disconnect:
            mConnections.erase({line.process, line.connection});
            break;
        case Operation::lost:
            announce(line, place, missingText(line));
            break;
        case Operation::getElementStatus:
            mStatus.add(line, place, viewRootOf(line));
            break;
        case Operation::canonicalizeViewPath:
            mPaths.addPath(line, place);
            break;
        case Operation::getMvfsDrives:
            mPaths.addDrives(line, place);
            break;
        case Operation::probeVobs:
            mVobs.add(line, place);
            break;
        case Operation::getOutput:
        case Operation::getError:
            takeText(line, place, "");
            break;
        case Operation::getViewTag:
            takeText(line, place, leafName(mViewRoots[viewRootOf(line)]));
            break;
        case Operation::getProductInfo:
            takeProductInfo(line, place);
            break;
        case Operation::isReady:
            if (!line.result.ready) {
                announce(line, place, "the connection wasn't ready, and that of a fake always is");
            }
            break;
        default:
            // clearMessages has no answer.
            break;
    }
}

void Recorder::takeText(const JournalLine& line, const JournalPlace& place,
                        const std::string& expected) const {
    if (*line.result.text != expected) {
        announce(line, place, "'" + *line.result.text + "' becomes '" + expected + "'");
    }
}

void Recorder::takeProductInfo(const JournalLine& line, const JournalPlace& place) const {
    TextMap expected = line.arguments.info;
    expected["product"] = fakeanswers::product;
    expected["version"] = fakeanswers::version;
    expected["osname"] = fakeanswers::osname;
    if (line.result.info != expected) {
        announce(line, place, "the product becomes '" + expected["product"] + "'");
    }
}

void Recorder::takeException(const JournalLine& line, const JournalPlace& place) const {
    const char* const refusal = refusalOf(line.operation);
    const std::string type = line.result.exceptionType.value_or("something");
    const std::string what = line.result.what.value_or("");
    if (refusal == nullptr) {
        announce(line, place, "it threw " + type + " '" + what + "', and a fake doesn't");
    } else if (type != "std::runtime_error" || what != refusal) {
        announce(line, place,
                 "the exception " + type + " '" + what + "' becomes std::runtime_error '" +
                     refusal + "'");
    }
}

Recording Recorder::finish(const std::string& source, bool withDrives) {
    const std::string vobs = mVobs.makeLines();
    const std::string elements = mStatus.makeLines();
    const std::string comment = " Recorded by ccquery from " + oneLine(source) + "\n";
    Recording recording{.configuration = ';' + comment, .drives = '#' + comment};
    if (!vobs.empty()) {
        recording.configuration += "[vobs]\n" + vobs;
    }
    if (!elements.empty()) {
        recording.configuration += "[attrs]\n" + elements;
    }
    mStatus.check(recording.configuration, mViewRoots);
    mPaths.check();
    mVobs.check(recording.configuration);
    std::vector<std::string> problems;
    recording.drives += driveList(mPaths.drives().value_or(RecordedDrives()), problems);
    announceDrives(problems, withDrives);
    return recording;
}

void Recorder::announceDrives(const std::vector<std::string>& problems, bool withDrives) const {
    Announcement announcement{
        .place = mPaths.drivesPlace(), .question = "getMvfsDrives", .problem = {}};
    const bool hasDrives = mPaths.drives() && *mPaths.drives() != RecordedDrives();
    if (hasDrives && !withDrives) {
        announcement.problem = "drives aren't part of a configuration; write them by --drives FILE";
        announcement.isNote = true;
        mAnnounce(announcement);
    }
    if (withDrives) {
        for (const std::string& problem : problems) {
            announcement.problem = problem;
            mAnnounce(announcement);
        }
    }
}

}  // namespace ccquery
