#pragma once

#include <vector>

#include "tools/ccquery/configurationlines.h"

namespace ccquery {

/// Returns for each line of `file`, in order, whether it has an effect: whether without it the
/// library would read other VOBs or elements, would have other complaints, or would stop at other
/// relative paths. An effect of the text of a link or of a flag counts, whether or not anybody asks
/// for it. Takes about as long as reading the file.
[[nodiscard]] std::vector<bool> lineEffects(const ConfigurationLines& file);

}  // namespace ccquery
