#pragma once

// Formats the answers of a connection as text for a person or for a program. Pure functions. A
// connection's texts may contain anything; what isn't UTF-8 is written as U+FFFD.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tools {

using Json = nlohmann::ordered_json;
using Row = std::vector<std::string>;

struct Report {
    /// One object for each line of JSON.
    std::vector<Json> records;
    /// The same as a table; without headings it is a list of names and values.
    Row headings;
    std::vector<Row> rows;
    /// What is printed if there are no rows.
    std::string nothing;
};

/// Returns one object per line, each followed by a line feed.
[[nodiscard]] std::string jsonText(const Report& report);

/// Returns the object on one line, with a line feed.
[[nodiscard]] std::string jsonLine(const Json& record);

/// Returns the cells of a row, as in a table, separated by tabs, with a line feed.
[[nodiscard]] std::string tabbedLine(const Row& row);

/// Returns the cells of a row, two spaces apart and without empty ones at its end, and below it
/// each line of `explanation`, indented. Cells and lines are written as in a table.
[[nodiscard]] std::string explainedText(const Row& row,
                                        const std::vector<std::string>& explanation);

/// Returns a table whose columns are two spaces apart; an empty cell is "-". Control characters are
/// written as "\n", "\t" or "\x1b" (up to "\x9f"), so that a table keeps its form; backslashes stay
/// unchanged.
[[nodiscard]] std::string tableText(const Report& report);

/// Returns `text` on one line, for a message, with control characters and invalid bytes written as
/// in a table.
[[nodiscard]] std::string oneLine(const std::string& text);

}  // namespace tools
