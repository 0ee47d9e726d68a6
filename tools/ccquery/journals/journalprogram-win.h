#pragma once

// The commands about journals, as the program runs them.

#include <functional>
#include <string>

#include "tools/ccquery/ask.h"
#include "tools/ccquery/commandline.h"

namespace ccquery {

/// What the program offers to the commands.
struct JournalProgram {
    /// Writes to standard output at once, or throws std::exception.
    std::function<void(const std::string&)> print;
    /// Writes a message of one line to standard error.
    std::function<void(const std::string&)> complain;
    /// The library that `verify` asks.
    std::string library;
};

/// Whether the query is `record`, `verify` or `usage`.
[[nodiscard]] bool isAboutJournals(const Query& query);

/// Answers such a query. Shows the progress on standard error if that is a terminal. Throws
/// std::exception, whose message is one line, if nothing can be answered.
[[nodiscard]] ExitCode runJournals(const Query& query, const JournalProgram& program);

}  // namespace ccquery
