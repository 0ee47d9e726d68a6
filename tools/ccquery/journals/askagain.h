#pragma once

#include <optional>
#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// Puts the question of a line to a connection, with the texts, records and maps that the host
/// passed in, and returns the line that a journal would have for it. An exception is an answer.
/// `question` is no line of `connect`, `disconnect` or `lost`, and nothing that stops the process.
[[nodiscard]] JournalLine askAgain(ClearCaseConnection& connection, const JournalLine& question);

/// A part of an answer that isn't the same in two lines.
struct AnswerDifference {
    std::string field;  ///< the field of the result, or "exception"
    std::string name;   ///< the field, with the key or number of an element of it: "info 'product'"
    /// Nothing where the answer has no such part.
    std::optional<std::string> recorded = {};
    std::optional<std::string> answered = {};
};

/// Compares two answers to the same question. The differences are in the order of the fields, and
/// empty if the answers are equal.
[[nodiscard]] std::vector<AnswerDifference> differences(const JournalLine& recorded,
                                                        const JournalLine& answered);

/// Returns the question of a line on one line: "getElementStatus 'C:\a'". May contain any text of
/// the line.
[[nodiscard]] std::string questionText(const JournalLine& line);
/// Returns what a line of `lost` says, as "3 lines before this one are missing (disk full)".
[[nodiscard]] std::string missingText(const JournalLine& line);
/// The same as `questionText` for a question of canonicalizeViewPath.
[[nodiscard]] std::string viewPathQuestionText(const std::string& path, const std::string& cwd,
                                               const std::vector<std::string>& vobTags);

}  // namespace ccquery
