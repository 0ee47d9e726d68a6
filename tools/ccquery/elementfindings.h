#pragma once

#include <string>
#include <string_view>

#include "tools/ccquery/findings.h"

namespace ccquery {

/// Adds the findings about the elements of a configuration.
void addElementFindings(const ConfigurationLines& file, FindingList& list);

/// Returns whether a host that asks about some path gets to the element with this key.
[[nodiscard]] bool isReachable(std::string_view key);

/// Adds a finding if a blank at the end of `name`, which is before the line's `=`, belongs to it.
/// `what` is the kind of name.
void addBlankBeforeEquals(const ConfigurationLine& line, std::string_view name,
                          const std::string& what, FindingList& list);

}  // namespace ccquery
