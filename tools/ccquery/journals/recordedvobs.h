#pragma once

// What hosts have asked about VOBs.

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/ccquery/journals/announcement.h"
#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// Returns the tag of the VOB whose folder below `root` is `folder`, or an empty text if there is
/// none that a configuration can have.
[[nodiscard]] std::string tagOfFolder(const std::string& root, const std::string& folder);

class RecordedVobs {
public:
    /// `announce` gets what can't be repeated. It must outlive the object.
    explicit RecordedVobs(const Announce& announce) : mAnnounce(announce) {}
    RecordedVobs(const RecordedVobs&) = delete;
    RecordedVobs& operator=(const RecordedVobs&) = delete;

    /// Takes a line of `probeVobs` that has a result. The first line whose folders can be those of
    /// VOBs decides which VOBs there are. Lines whose root ends in a separator come last.
    void add(const JournalLine& line, const JournalPlace& place);

    /// Returns a line for each VOB, with its line end.
    [[nodiscard]] std::string makeLines() const;

    /// Announces each probe of which a fake with the configuration `text` would report other
    /// folders.
    void check(const std::string& text) const;

private:
    struct Probe {
        JournalPlace place;
        std::string root;
        std::vector<VobRecord> added;  ///< by the probe
    };

    /// Returns the lines of the probe's VOBs, or nothing if a configuration can't have one.
    [[nodiscard]] static std::optional<std::string> linesOf(const Probe& probe);
    void announce(const JournalPlace& place, const std::string& root, const std::string& problem,
                  bool isNote = false) const;

    const Announce& mAnnounce;
    std::vector<Probe> mProbes;                       ///< the first one of each root
    std::unordered_map<std::string, size_t> mByRoot;  ///< their indices
};

}  // namespace ccquery
