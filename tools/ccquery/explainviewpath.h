#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/ccquery/explanation.h"

namespace ccquery {

/// What the explanations of `canonicalize` start from.
struct ViewPathSources {
    std::string mvfsRoot;  ///< as `getMvfsDrives` of the connection returns
    std::map<std::string, std::string> viewDrives;  ///< them: the MVFS drive and the view drives
    std::string cwd;
    std::vector<std::string> tags;
};

/// Returns a function that explains the canonical form of a path: the form in which it is taken,
/// the root and the other route of each tag, and the rule that has ended it. The rules have the
/// numbers of `canonicalizeViewPath` in clearcase/clearcaseconnection.h.
[[nodiscard]] Explain viewPathExplainer(ViewPathSources sources);

}  // namespace ccquery
