#pragma once

// What hosts have asked about view paths and drives.

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "tools/ccquery/journals/announcement.h"
#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// The drives of a machine, as `getMvfsDrives` returns them.
struct RecordedDrives {
    std::string mvfsRoot = {};
    TextMap views = {};

    friend bool operator==(const RecordedDrives&, const RecordedDrives&) = default;
};

/// Returns the drives as a list of ccdrives; see tools/ccdrives/drivelist.h. `problems` gets a line
/// for each drive that the list can't have.
[[nodiscard]] std::string driveList(const RecordedDrives& drives,
                                    std::vector<std::string>& problems);

/// Returns whether the question would stop a host of the fake with these drives: the path can't be
/// made absolute, or would move to a view that isn't on a drive.
[[nodiscard]] bool stopsHost(const std::string& cwd, const std::string& path,
                             const std::vector<std::string>& vobTags, const RecordedDrives& drives);

class RecordedPaths {
public:
    /// `announce` gets what can't be repeated. It must outlive the object.
    explicit RecordedPaths(const Announce& announce);
    RecordedPaths(const RecordedPaths&) = delete;
    RecordedPaths& operator=(const RecordedPaths&) = delete;

    /// Take lines of `getMvfsDrives` and `canonicalizeViewPath` that have a result. A question that
    /// had another answer before is announced.
    void addDrives(const JournalLine& line, const JournalPlace& place);
    void addPath(const JournalLine& line, const JournalPlace& place);

    /// The first drives that were recorded, and where; nothing if there are none.
    [[nodiscard]] const std::optional<RecordedDrives>& drives() const { return mDrives; }
    [[nodiscard]] const JournalPlace& drivesPlace() const { return mDrivesPlace; }

    /// Announces each view path that a fake with the recorded drives would spell otherwise.
    void check() const;

private:
    struct Question {
        JournalPlace place;
        std::string cwd;
        std::string path;
        std::vector<std::string> vobTags;
        std::string text;
    };
    struct Hash {
        const std::vector<Question>& questions;
        size_t operator()(size_t index) const;
    };
    struct Equal {
        const std::vector<Question>& questions;
        bool operator()(size_t a, size_t b) const;
    };

    void announce(const Question& question, const JournalPlace& place,
                  const std::string& problem) const;

    const Announce& mAnnounce;
    std::optional<RecordedDrives> mDrives;
    JournalPlace mDrivesPlace;
    std::vector<Question> mQuestions;
    std::unordered_set<size_t, Hash, Equal> mIndex;
};

}  // namespace ccquery
