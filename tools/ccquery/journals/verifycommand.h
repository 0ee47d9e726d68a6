#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/ask.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/journals/journalfiles.h"
#include "tools/shared/painter.h"

namespace ccquery {

/// What `verify` needs of the program around it.
struct VerifySurroundings {
    JournalSource source;
    /// Makes a connection, or throws std::exception, which ends the command.
    std::function<std::unique_ptr<ClearCaseConnection>()> connect;
    /// Sets CLEARCASE_ROOT, or removes it.
    std::function<void(const std::optional<std::string>& value)> setViewRoot;
    /// Writes to standard output at once, or throws std::exception.
    std::function<void(const std::string&)> print;
    /// Writes a message of one line to standard error.
    std::function<void(const std::string&)> complain;
    /// Paints the lines of a difference.
    tools::Painter painter = tools::Painter();
};

/// Asks the questions of the journals of `query` again, in order, and prints each answer that
/// differs and, at the end, how many there were. Returns exitComplaints if one differs,
/// exitAnswered if none does, and exitNoAnswer if nothing could be asked.
///
/// Each recorded connection has one of its own while it exists, with its CLEARCASE_ROOT. A
/// connection whose first line is missing has none. Only the 64 connections that were used last are
/// kept: a journal may have thousands of processes that were stopped. An older one is made again
/// when its next question comes.
[[nodiscard]] ExitCode verify(const Query& query, const VerifySurroundings& surroundings);

}  // namespace ccquery
