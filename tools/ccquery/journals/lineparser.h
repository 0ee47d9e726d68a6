#pragma once

#include <string>
#include <string_view>

#include "tools/ccquery/journals/journalline.h"
#include "tools/ccquery/journals/linehandler.h"

namespace ccquery {

/// Why a line can't be taken.
enum class LineProblem {
    none,
    notJson,       ///< no JSON, or JSON that is no object
    otherVersion,  ///< of another version of the format
    operation,     ///< of an operation that the contract doesn't have
    field,         ///< a field is missing or has a wrong type
};

/// Reads lines of a journal. The texts of a line become values while it is read, without a tree in
/// between. Use a parser on one thread.
class LineParser {
public:
    /// Reads a line, without its line feed. Bytes may have any value. Fields that the format
    /// doesn't have are ignored, and so are those that only another operation has.
    [[nodiscard]] LineProblem parse(std::string_view text);

    /// Returns what the line said if `parse` returned `none`. It is valid until the next call.
    [[nodiscard]] const JournalLine& line() { return mHandler.parsed().line; }
    /// Returns what is wrong if it returned anything else: "getViewTag lacks 'result.text'". May
    /// contain any text of the line.
    [[nodiscard]] const std::string& problem() const { return mProblem; }

private:
    LineProblem check();
    LineProblem checkPart(LinePart part);
    LineProblem fail(LineProblem kind, std::string problem);

    LineHandler mHandler;
    std::string mProblem;
};

}  // namespace ccquery
