#pragma once

// Collects what hosts have asked about elements, and makes the lines of a configuration that has
// the fake answer the same.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "tools/ccquery/journals/announcement.h"
#include "tools/ccquery/journals/elementline.h"
#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// A question with its first answer.
struct StatusQuestion {
    JournalPlace place;
    size_t viewRoot = 0;  ///< the number of the view root of the connection
    std::string path;
    JournalText version;  ///< the texts that the host passed in
    JournalText target;
    StatusAnswer answer;

    [[nodiscard]] bool isSameAs(const StatusQuestion& other) const {
        // GCOVR_EXCL_BR_START: questions with the same hash are the same
        return viewRoot == other.viewRoot && path == other.path && version == other.version &&
               target == other.target;
        // GCOVR_EXCL_BR_STOP
    }
};

/// Returns "getElementStatus 'PATH'".
[[nodiscard]] std::string questionText(const StatusQuestion& question);

class RecordedStatus {
public:
    /// `announce` gets what can't be repeated. It must outlive the object.
    explicit RecordedStatus(const Announce& announce);
    RecordedStatus(const RecordedStatus&) = delete;
    RecordedStatus& operator=(const RecordedStatus&) = delete;

    /// Takes a line of `getElementStatus` that has a result. `viewRoot` is the number of the
    /// connection's view root (see `check`). A question that had another answer before is
    /// announced, and so is one that would stop the host of a fake.
    void add(const JournalLine& line, const JournalPlace& place, size_t viewRoot);

    /// Makes the lines of the elements, sorted by their keys, each with its line end.
    [[nodiscard]] std::string makeLines();

    /// Announces each question to which a fake with the configuration `text`, and with `viewRoots`
    /// as the values of CLEARCASE_ROOT by their numbers, has no answer or another one. To be called
    /// after `makeLines`.
    void check(const std::string& text, const std::vector<std::string>& viewRoots) const;

private:
    struct Hash {
        const std::vector<StatusQuestion>& questions;
        size_t operator()(size_t index) const;
    };
    struct Equal {
        const std::vector<StatusQuestion>& questions;
        bool operator()(size_t a, size_t b) const { return questions[a].isSameAs(questions[b]); }
    };
    using Group = std::vector<size_t>;  ///< indices of questions about one element

    std::string lineFor(const std::string& key, const Group& group);
    [[nodiscard]] size_t countAnswered(const std::string& line, const Group& group) const;
    void announceUnanswered(size_t index) const;
    void announceDifference(const StatusQuestion& question, const StatusAnswer& answer) const;

    const Announce& mAnnounce;
    std::vector<StatusQuestion> mQuestions;
    std::unordered_set<size_t, Hash, Equal> mIndex;
    std::map<size_t, std::string> mProblems;  ///< why there is no line, by question
};

}  // namespace ccquery
