#pragma once

#include <string>

#include "tools/ccquery/ask.h"
#include "tools/shared/painter.h"

namespace ccquery {

/// What `check` prints, and its exit code: exitAnswered, or exitComplaints if there are findings.
struct CheckResult {
    std::string output;
    ExitCode exitCode = exitAnswered;
};

/// Checks the configuration `text`, the bytes of a file that is called `file`. `viewRootPrefix` is
/// CLEARCASE_ROOT, or empty. Each finding is a line: with `json` an object, otherwise
///
///     FILE:LINE:COLUMN: warning: TEXT [name]
///
/// or `error` in place of `warning`; `painter` paints the place and this word.
[[nodiscard]] CheckResult check(const std::string& file, const std::string& text,
                                const std::string& viewRootPrefix, bool json,
                                const tools::Painter& painter = tools::Painter());

}  // namespace ccquery
