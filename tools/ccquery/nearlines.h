#pragma once

#include <memory>
#include <string>
#include <vector>

#include "util/textspan.h"

namespace ccquery {

class ConfigurationLines;
struct ConfigurationLine;

/// What keeps a line from deciding about a path, the best reason first.
enum class NearReason {
    notRead,        ///< the line names the path, but is a comment, or the reader leaves it out
    otherCase,      ///< the paths differ in case alone (see comparePaths)
    otherSpelling,  ///< CLEARCASE_ROOT and the line's path are the path, but not in normal form
    otherDrive,     ///< the rest is the same, on another drive
    similarName,    ///< another name in the same folder that differs in one or two letters
    otherFolder,    ///< the same last names below another folder
};

/// A line of the configuration that nearly decides about a path.
struct NearLine {
    const ConfigurationLine* line = nullptr;
    NearReason reason = NearReason::otherFolder;
    /// What keeps it from matching, in a few words of one line: "differs in case".
    std::string why;
};

/// Finds the lines that nearly decide about a path, to say why none does. A line that isn't read
/// and also differs is near for the reason by which it differs; `why` then has both.
class NearLines {
public:
    /// `lines` must outlive this object. Takes n log n steps for a file of n lines.
    explicit NearLines(const ConfigurationLines& lines);
    ~NearLines();
    NearLines(const NearLines&) = delete;
    NearLines& operator=(const NearLines&) = delete;

    /// Returns at most three lines, the nearest first: by their reason; lines that are read before
    /// others; then those with fewer other letters, or more equal names; then those further down.
    /// Returns none if a line decides about `path`, which must be absolute. Looks only at the lines
    /// of its folder and at those with its last name.
    [[nodiscard]] std::vector<NearLine> of(StringSpan path) const;

private:
    class Index;
    std::unique_ptr<const Index> mIndex;
};

}  // namespace ccquery
