#pragma once

// The answers of a connection as text for a person or for a program. Pure functions; the texts of a
// connection may hold anything, and what isn't UTF-8 comes out as U+FFFD.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace ccquery {

using Json = nlohmann::ordered_json;
using Row = std::vector<std::string>;

struct Report {
    /// One object for each line of JSON.
    std::vector<Json> records;
    /// The same as a table; without headings it is a list of names and values.
    Row headings;
    std::vector<Row> rows;
    /// What stands in the place of a table without rows.
    std::string nothing;
};

/// One object a line, each with its line feed.
std::string jsonText(const Report& report);

/// Columns two blanks apart; an empty cell is "-". Control characters come out as "\n", "\t" or
/// "\x1b", so that a table keeps its form; backslashes stay as they are.
std::string tableText(const Report& report);

/// `text` on one line, with the same care, for a message.
std::string oneLine(const std::string& text);

}  // namespace ccquery
