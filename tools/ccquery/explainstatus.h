#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tools/ccquery/explanation.h"

namespace ccquery {

/// What decides about an element that isn't in the configuration.
struct FileFacts {
    bool isDirectory = false;
    bool isReadOnly = false;
};

/// What the explanations of `status` start from.
struct StatusSources {
    std::string configName;                 ///< how messages call the configuration
    std::optional<std::string> configText;  ///< its bytes; nothing if it can't be read
    std::string viewRootPrefix;             ///< CLEARCASE_ROOT, or empty
    /// Returns the facts about the file at a path; nothing if it can't be opened.
    std::function<std::optional<FileFacts>(const std::string& path)> look;
};

/// Returns a function that explains the type, the version and the target of an element: which line
/// of the configuration has decided, or that the file has. Where no line has, the explanation names
/// the nearest ones. A path counts up to a null character.
///
/// Takes n log n steps for a configuration of n lines, which is read once.
[[nodiscard]] Explain statusExplainer(StatusSources sources);

}  // namespace ccquery
