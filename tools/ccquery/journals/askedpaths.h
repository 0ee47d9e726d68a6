#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// What hosts have asked a configuration about. Memory grows with the different paths.
class AskedPaths {
public:
    /// How often each path was asked about.
    using Counts = std::unordered_map<std::string, uint64_t>;

    /// Takes a line. Returns false for one that asks about a path that isn't absolute.
    [[nodiscard]] bool take(const JournalLine& line);

    /// The paths that were asked about, by the CLEARCASE_ROOT of their connection, which is empty
    /// if there is none.
    [[nodiscard]] const std::map<std::string, Counts>& byViewRoot() const { return mByViewRoot; }
    /// Whether VOBs were probed.
    [[nodiscard]] bool probesVobs() const { return mProbesVobs; }

private:
    using Number = std::pair<uint64_t, uint64_t>;  ///< of the process, and of its connection

    std::map<Number, std::string> mViewRoots;  ///< of the connections that have one
    std::map<std::string, Counts> mByViewRoot;
    bool mProbesVobs = false;
};

}  // namespace ccquery
