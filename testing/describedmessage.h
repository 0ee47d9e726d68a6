#pragma once

// Messages as the pages describe them.

#include <regex>
#include <string>

namespace testing_support {

/// Whether `text` is the line, with its end, that a page describes like this: "..." and words of
/// four or more capital letters may be anything, but for the FILE of a "--library FILE",
/// "--config FILE" or "check FILE" at the end.
inline bool isAsDescribed(const std::string& text, const std::string& described) {
    std::string pattern =
        std::regex_replace(described, std::regex(R"([.?*+()\[\]{}|^$\\])"), "\\$&");
    pattern = std::regex_replace(pattern, std::regex("(--library|--config|check) FILE$"), "$1 F");
    pattern = std::regex_replace(pattern, std::regex(R"(\\\.\\\.\\\.|\b[A-Z]{4,}\b)"), ".*");
    pattern = std::regex_replace(pattern, std::regex(" F$"), " FILE");
    return std::regex_match(text, std::regex(pattern + "\r?\n"));
}

}  // namespace testing_support
