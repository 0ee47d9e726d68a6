#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ccquery {

/// Returns the one of `names`, which have small letters and underscores, that was meant by `text`,
/// or nothing. Case, blanks at the ends, and dashes and blanks in place of underscores don't count;
/// after that up to two letters may be missing, additional, wrong or in each other's place, but
/// fewer than half of the name's. A comment after the name doesn't count either.
///
///     Version               version
///     checked-out file      checked_out_file
///     verison               version
///     null ; a remark       null
[[nodiscard]] std::optional<std::string> nearestName(std::string_view text,
                                                     const std::vector<std::string>& names);

}  // namespace ccquery
