#include "tools/shared/report.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "tools/shared/characters.h"

namespace tools {
namespace {

std::string dump(const Json& value) {
    return value.dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false,
                      Json::error_handler_t::replace);
}

std::string validUtf8(const std::string& text) {
    return Json::parse(dump(text)).get<std::string>();
}

std::string escapedControl(unsigned char character) {
    switch (character) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default: {
            const std::string digits = "0123456789abcdef";
            return std::string("\\x") + digits[character / 16] + digits[character % 16];
        }
    }
}

std::string cellText(const std::string& text) { return text.empty() ? "-" : oneLine(text); }

}  // namespace

std::string oneLine(const std::string& text) {
    constexpr unsigned char leadOfControls = 0xc2;  // of U+0080 to U+00BF
    const std::string valid = validUtf8(text);
    std::string line;
    for (size_t i = 0; i < valid.size(); ++i) {
        const auto byte = static_cast<unsigned char>(valid[i]);
        if (byte < 0x20 || byte == 0x7f) {
            line += escapedControl(byte);
        } else if (byte == leadOfControls && static_cast<unsigned char>(valid[i + 1]) < 0xa0) {
            line += escapedControl(static_cast<unsigned char>(valid[++i]));
        } else {
            line += valid[i];
        }
    }
    return line;
}

std::string jsonLine(const Json& record) { return dump(record) + '\n'; }

std::string tabbedLine(const Row& row) {
    std::string line;
    for (const std::string& cell : row) {
        line += cellText(cell) + '\t';
    }
    line.back() = '\n';
    return line;
}

std::string explainedText(const Row& row, const std::vector<std::string>& explanation) {
    const auto isEmpty = [](const std::string& cell) { return cell.empty(); };
    const auto end = std::find_if_not(row.rbegin(), row.rend(), isEmpty).base();
    std::string text;
    for (auto cell = row.begin(); cell != end; ++cell) {
        text += (cell == row.begin() ? "" : "  ") + cellText(*cell);
    }
    text += '\n';
    for (const std::string& line : explanation) {
        text += "    " + oneLine(line) + '\n';
    }
    return text;
}

std::string jsonText(const Report& report) {
    std::string text;
    for (const Json& record : report.records) {
        text += jsonLine(record);
    }
    return text;
}

std::string tableText(const Report& report) {
    if (report.rows.empty()) {
        return report.nothing + '\n';
    }
    std::vector<Row> lines;
    if (!report.headings.empty()) {
        lines.push_back(report.headings);
    }
    for (const Row& row : report.rows) {
        lines.emplace_back();
        std::transform(row.begin(), row.end(), std::back_inserter(lines.back()), cellText);
    }
    std::vector<size_t> widths;
    for (const Row& line : lines) {
        widths.resize(std::max(widths.size(), line.size()));
        for (size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], characterCount(line[i]));
        }
    }
    std::string text;
    for (const Row& line : lines) {
        for (size_t i = 0; i + 1 < line.size(); ++i) {
            text += line[i] + std::string(widths[i] - characterCount(line[i]) + 2, ' ');
        }
        text += line.back() + '\n';
    }
    return text;
}

}  // namespace tools
