#pragma once

// What is wrong with a configuration. docs/configuration.md describes each finding by its name.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/ccquery/configurationlines.h"

namespace ccquery {

struct Finding {
    size_t line = 0;      ///< from 1
    size_t lastLine = 0;  ///< the same line, unless the finding is about several
    size_t column = 0;    ///< from 1, in characters; a byte that isn't UTF-8 may count or not
    bool isError = false;
    /// Whether each of the lines does nothing: without it the library would read the same, complain
    /// of the same, and stop at the same relative paths.
    bool isWithoutEffect = false;
    std::string name;  ///< stable, in kebab case
    std::string text;  ///< what is wrong and what to do; may contain any bytes of the file
};

/// Returns the findings about `file` in the order of its lines and columns. Each line is without
/// effect exactly if a finding about it says so, except for empty lines and comments.
[[nodiscard]] std::vector<Finding> findings(const ConfigurationLines& file);

/// Collects findings.
class FindingList {
public:
    explicit FindingList(const ConfigurationLines& file);

    /// Adds a finding about the place where `at` begins, which is a part of the line's text.
    Finding& add(const ConfigurationLine& line, std::string_view at, const char* name,
                 std::string text);
    [[nodiscard]] bool hasEffect(const ConfigurationLine& line) const {
        return mEffects[line.number - 1];
    }
    [[nodiscard]] bool noneHasEffect() const;
    /// Returns what was added, sorted.
    [[nodiscard]] std::vector<Finding> take();

private:
    const std::vector<bool> mEffects;  ///< of each line
    std::vector<Finding> mFindings;
};

}  // namespace ccquery
