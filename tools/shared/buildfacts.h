#pragma once

// What the option --version says. The build writes the source of `buildFacts`
// (cmake/BuildFacts.cmake): after a commit it compiles that alone. Text in, text out; UTF-8.

#include <string>

namespace tools {

struct BuildFacts {
    std::string version;
    /// The commit, followed by " with changes" if the tree had any that weren't committed; or why
    /// it isn't known.
    std::string commit;
    /// With its version and the C runtime.
    std::string compiler;
};

/// Only the programs have it, not the tests.
[[nodiscard]] BuildFacts buildFacts();

/// A line for each fact; `program` is the name in front of the version.
[[nodiscard]] std::string versionText(const std::string& program, const BuildFacts& facts);
/// The facts as one line of JSON.
[[nodiscard]] std::string versionJson(const BuildFacts& facts);

}  // namespace tools
