#pragma once

// What `ccquery --version` says. The build writes the source of `buildFacts`
// (cmake/BuildFacts.cmake): after a commit it compiles that alone. Text in, text out; UTF-8.

#include <string>

namespace ccquery {

struct BuildFacts {
    std::string version;
    /// The commit, followed by " with changes" if the tree had any that weren't committed; or why
    /// it isn't known.
    std::string commit;
    /// With its version and the C runtime.
    std::string compiler;
};

/// Only the program has it, not the tests.
[[nodiscard]] BuildFacts buildFacts();

/// A line for each fact.
[[nodiscard]] std::string versionText(const BuildFacts& facts);
/// The same as one line of JSON.
[[nodiscard]] std::string versionJson(const BuildFacts& facts);

}  // namespace ccquery
