#pragma once

#include <optional>
#include <string>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/report.h"

namespace ccquery {

/// The exit codes of the program.
using ExitCode = int;
enum : ExitCode {
    exitAnswered = 0,
    exitComplaints = 1,  ///< `errors` has been answered, and there are some
    exitNoAnswer = 2,    ///< the program can't answer, or not completely
};

/// Puts the query to the connection and appends its answers to `report`. If the connection throws,
/// `report` has the answers up to then. Returns exitComplaints for `errors` if there are any,
/// otherwise exitAnswered. The paths of `status` and the `cwd` must be absolute, or the connection
/// stops the process.
[[nodiscard]] ExitCode ask(ClearCaseConnection& connection, const Query& query, Report& report);

/// Returns the name of an element type; nothing if the number isn't one.
[[nodiscard]] std::optional<std::string> elementTypeName(int type);

/// Returns "writable", "read_only" or "not_determined"; nothing if the number isn't a state.
[[nodiscard]] std::optional<std::string> vobStateName(int state);

}  // namespace ccquery
