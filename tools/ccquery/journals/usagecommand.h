#pragma once

#include <functional>
#include <string>

#include "tools/ccquery/ask.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/journals/journalfiles.h"

namespace ccquery {

/// What `usage` needs of the program around it.
struct UsageSurroundings {
    JournalSource source;
    std::string configurationFile;  ///< its name, for the output
    std::string configuration;      ///< its bytes
    /// Whether there is a file or a folder with this absolute path.
    std::function<bool(const std::string& path)> exists;
    /// Writes to standard output at once, or throws std::exception.
    std::function<void(const std::string&)> print;
    /// Writes a message of one line to standard error.
    std::function<void(const std::string&)> complain;
};

/// Prints the elements and VOBs of the configuration that no question of the journals of `query`
/// has used, in the order of the file, and then the paths that neither a line nor a file has
/// answered, with their nearest lines, those first that were asked about most often. Returns
/// exitAnswered if there are none of either, exitComplaints if there are, and exitNoAnswer if no
/// line of a journal could be taken.
///
/// A line is used by a question of a connection if it decides about the path with the connection's
/// CLEARCASE_ROOT. VOBs are used by each probe.
[[nodiscard]] ExitCode usage(const Query& query, const UsageSurroundings& surroundings);

}  // namespace ccquery
