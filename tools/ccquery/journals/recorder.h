#pragma once

// Turns journals into a configuration with which the fake answers as they say.

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/ccquery/journals/announcement.h"
#include "tools/ccquery/journals/journalline.h"
#include "tools/ccquery/journals/recordedpaths.h"
#include "tools/ccquery/journals/recordedstatus.h"
#include "tools/ccquery/journals/recordedvobs.h"

namespace ccquery {

struct Recording {
    std::string configuration;
    std::string drives;  ///< a list of drives
};

/// Takes the lines of journals, and makes a recording of them at the end. Each line is either
/// reproduced by the recording or announced. Memory grows with the different questions, not with
/// the lines.
class Recorder {
public:
    /// `announce` is called with whatever can't be reproduced.
    explicit Recorder(Announce announce);
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    void take(const JournalLine& line, const JournalPlace& place);

    /// To be called after the last line. `source` is what the comment at the start of the texts
    /// names. If `withDrives` isn't set, the drives are announced.
    [[nodiscard]] Recording finish(const std::string& source, bool withDrives);

private:
    using ConnectionNumber = std::pair<uint64_t, uint64_t>;  ///< of the process, and in it

    size_t viewRootOf(const JournalLine& line) const;
    void takeConnect(const JournalLine& line);
    void takeAnswer(const JournalLine& line, const JournalPlace& place);
    void takeText(const JournalLine& line, const JournalPlace& place,
                  const std::string& expected) const;
    void takeProductInfo(const JournalLine& line, const JournalPlace& place) const;
    void takeException(const JournalLine& line, const JournalPlace& place) const;
    void announceDrives(const std::vector<std::string>& problems, bool withDrives) const;
    void announce(const JournalLine& line, const JournalPlace& place,
                  const std::string& problem) const;

    const Announce mAnnounce;
    RecordedStatus mStatus;
    RecordedPaths mPaths;
    RecordedVobs mVobs;
    /// The different values of CLEARCASE_ROOT. The first one is that of a connection without it.
    std::vector<std::string> mViewRoots = {""};
    std::map<std::string, size_t> mViewRootNumbers = {{"", 0}};
    std::map<ConnectionNumber, size_t> mConnections;  ///< those that are open, with their view root
};

}  // namespace ccquery
