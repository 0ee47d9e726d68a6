#pragma once

// The parts of a page in Markdown that tests check. The test programs run in the root of the tree.

#include <cstddef>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

/// Returns the content of a file below the root of the tree. Throws std::runtime_error if it can't
/// be read.
inline std::string pageText(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    if (!file) {
        throw std::runtime_error(name + " can't be read: the tests run in the root of the tree");
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A block of code, a row of a table, or a line of anything else.
struct PagePart {
    enum class Kind { text, row, block };

    Kind kind = Kind::text;
    /// The last heading above, without its marks.
    std::string section;
    /// Of a block, the word in its first line: "ini".
    std::string language = {};
    /// A line, or the lines of a block, each with its line feed.
    std::string text = {};
    /// Of a row; without backquotes.
    std::vector<std::string> cells = {};
    /// Of a row: the number of its table in the page.
    size_t table = 0;
};

/// Returns a text without backquotes and the blanks at its ends.
inline std::string plainText(std::string_view marked) {
    std::string text;
    for (const char c : marked) {
        if (c != '`') {
            text += c;
        }
    }
    const size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

/// Returns the cells of "| a | b |". A bar that belongs to a cell has a backslash.
inline std::vector<std::string> cellsOf(std::string_view row) {
    std::vector<std::string> cells;
    std::string cell;
    for (size_t i = 1; i < row.size(); ++i) {
        if (row[i] == '\\' && i + 1 < row.size() && row[i + 1] == '|') {
            cell += row[++i];
        } else if (row[i] == '|') {
            cells.push_back(plainText(cell));
            cell.clear();
        } else {
            cell += row[i];
        }
    }
    return cells;
}

/// Returns the parts in their order, without headings. The first two rows of a table aren't parts.
inline std::vector<PagePart> partsOf(const std::string& page) {
    std::vector<PagePart> parts;
    std::istringstream lines(page);
    std::string section;
    size_t table = 0;
    size_t row = 0;
    bool isInBlock = false;
    for (std::string line; std::getline(lines, line);) {
        const bool isFence = line.starts_with("```");
        row = line.starts_with('|') && !isInBlock ? row + 1 : 0;
        table += row == 1 ? 1 : 0;
        if (isInBlock && !isFence) {
            parts.back().text += line + '\n';
        } else if (isFence) {
            isInBlock = !isInBlock;
            if (isInBlock) {
                parts.push_back({.kind = PagePart::Kind::block,
                                 .section = section,
                                 .language = line.substr(3)});
            }
        } else if (line.starts_with('#')) {
            section = plainText(line.substr(line.find_first_not_of('#')));
        } else if (row == 0) {
            parts.push_back({.kind = PagePart::Kind::text, .section = section, .text = line});
        } else if (row > 2) {
            parts.push_back({.kind = PagePart::Kind::row,
                             .section = section,
                             .text = line,
                             .cells = cellsOf(line),
                             .table = table});
        }
    }
    return parts;
}

/// A line that begins with "> ", and the lines below it up to the next one.
struct PageCommand {
    std::string command;
    std::string output;
};

inline std::vector<PageCommand> commandsIn(const std::string& block) {
    std::vector<PageCommand> commands;
    std::istringstream lines(block);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("> ")) {
            commands.push_back({line.substr(2), ""});
        } else if (!commands.empty()) {
            commands.back().output += line + '\n';
        }
    }
    return commands;
}

}  // namespace testing_support
