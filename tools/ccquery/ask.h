#pragma once

#include <optional>
#include <string>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/commandline.h"
#include "tools/shared/report.h"

namespace ccquery {

using tools::Json;
using tools::Report;
using tools::Row;

/// The exit codes of the program.
using ExitCode = int;
enum : ExitCode {
    exitAnswered = 0,
    exitComplaints = 1,  ///< there is an answer, and it has complaints, findings or differences
    exitNoAnswer = 2,    ///< the program can't answer, or not completely
};

/// What is reported of an exception whose type isn't derived from std::exception.
inline constexpr const char* threwNoException =
    "the connection library threw something that is no std::exception";

/// Puts a query without paths to the connection and appends its answers to `report`. Returns
/// exitComplaints for `errors` if there are any, otherwise exitAnswered.
[[nodiscard]] ExitCode ask(ClearCaseConnection& connection, const Query& query, Report& report);

/// An answer about a path: a line of JSON, and the same as a row of a table.
struct Answer {
    Json record;
    Row row;
};

/// The headings of a table of answers to `command`.
[[nodiscard]] Row headingsOf(Command command);

/// Puts `query`, which is `status` or `canonicalize`, to the connection for one path. A path of
/// `status` and the `cwd` must be absolute, or the connection stops the process.
[[nodiscard]] Answer askAbout(const std::string& path, ClearCaseConnection& connection,
                              const Query& query);

/// Returns the name of an element type; nothing if the number isn't one.
[[nodiscard]] std::optional<std::string> elementTypeName(int type);

/// Returns "writable", "read_only" or "not_determined"; nothing if the number isn't a state.
[[nodiscard]] std::optional<std::string> vobStateName(int state);

}  // namespace ccquery
