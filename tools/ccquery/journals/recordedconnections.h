#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// The connections that stand for those of a journal. At most `limit` of them exist at a time.
class RecordedConnections {
public:
    using Connect = std::function<std::unique_ptr<ClearCaseConnection>()>;
    using SetViewRoot = std::function<void(const std::optional<std::string>& value)>;
    static constexpr size_t limit = 64;

    /// `connect` makes a connection; what it throws is thrown on. `setViewRoot` sets CLEARCASE_ROOT
    /// or removes it.
    RecordedConnections(Connect connect, SetViewRoot setViewRoot)
        : mConnect(std::move(connect)), mSetViewRoot(std::move(setViewRoot)) {}

    /// Makes the connection of a line of `connect`. One of the same number in the process ends.
    void begin(const JournalLine& line);
    /// Ends the connection of the line.
    void end(const JournalLine& line);
    /// Returns the connection of a question, and sets CLEARCASE_ROOT as it was recorded for it. The
    /// reference is valid until the next call.
    [[nodiscard]] ClearCaseConnection& of(const JournalLine& line);

private:
    using Number = std::pair<uint64_t, uint64_t>;  ///< of the process, and in it

    struct Recorded {
        std::optional<std::string> viewRoot = {};
        /// Whether its messages were cleared: they have to be again if it is made again.
        bool isCleared = false;
        std::unique_ptr<ClearCaseConnection> connection = {};
        std::list<Number>::iterator use = {};  ///< if it exists
    };

    void setViewRoot(const std::optional<std::string>& value);
    void drop(Recorded& recorded);

    Connect mConnect;
    SetViewRoot mSetViewRoot;
    std::map<Number, Recorded> mRecorded;
    std::list<Number> mUsed;  ///< those that exist, the one that was used last in front
    /// The current value of CLEARCASE_ROOT; nothing before it was set.
    std::optional<std::optional<std::string>> mViewRoot;
};

}  // namespace ccquery
