#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/shared/report.h"

namespace ccquery {

using tools::Json;

/// Why the answer about a path is what it is.
// NOLINTNEXTLINE(bugprone-exception-escape): moving a Json throws nothing
struct Explanation {
    /// The field "explanation" of the answer's JSON.
    Json record;
    /// The same as text, a line each. They may contain control characters.
    std::vector<std::string> lines;
    /// Whether the answer is the one that is explained. Another library may answer otherwise, and
    /// so does one that has read a file that has changed since.
    bool agrees = true;
};

/// Explains an answer about a path: its JSON without the explanation (see askAbout). Never stops
/// the process, whatever another library has answered.
using Explain = std::function<Explanation(const std::string& path, const Json& answer)>;

}  // namespace ccquery
