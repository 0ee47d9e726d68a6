#pragma once

#include <optional>
#include <string>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/report.h"

namespace ccquery {

/// Puts the query to the connection and appends its answers to `report`. If the connection throws,
/// `report` has the answers up to then. Returns the program's exit code: 1 for `errors` if there
/// are any, otherwise 0. The paths of `status` and the `cwd` must be absolute, or the connection
/// stops the process.
[[nodiscard]] int ask(ClearCaseConnection& connection, const Query& query, Report& report);

/// Returns the name of an element type; nothing if the number isn't one.
[[nodiscard]] std::optional<std::string> elementTypeName(int type);

/// Returns "writable", "read_only" or "not_determined"; nothing if the number isn't a state.
[[nodiscard]] std::optional<std::string> vobStateName(int state);

}  // namespace ccquery
