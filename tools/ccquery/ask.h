#pragma once

#include <optional>
#include <string>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/report.h"

namespace ccquery {

/// Puts the question to the connection and appends its answers to `report`, which keeps those that
/// were given if the connection throws. The paths of `status` and the `cwd` are absolute, or the
/// connection stops the process. The result is the program's exit code: 1 for `errors` if there
/// are any, else 0.
int ask(ClearCaseConnection& connection, const Query& query, Report& report);

/// The name of an element type; nothing for a number that is none.
std::optional<std::string> elementTypeName(int type);

/// "writable", "read_only" or "not_determined"; nothing for a number that is no state.
std::optional<std::string> vobStateName(int state);

}  // namespace ccquery
