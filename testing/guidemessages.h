#pragma once

// The messages that docs/guide.md lists where it says why a host stops.

#include <regex>
#include <string>

namespace testing_support::guidemessages {

inline constexpr const char* assertion = "assertion failed at FILE(LINE): EXPRESSION";
inline constexpr const char* notMoved = "Couldn't make PATH relative to ROUTE!";

// Those that only a library itself writes, on Windows.
inline constexpr const char* badDriveList =
    "ccdrives_provider: the list of drives can't be understood; see ccdrives list";
inline constexpr const char* noDriveList =
    "ccdrives_provider: the list of drives can't be read; see ccdrives list";
inline constexpr const char* noSockets = "nbclearcase:  WSAStartup: ...";
inline constexpr const char* noLookup =
    "nbclearcase:  initialization error looking up MVFS drives: ...";
inline constexpr const char* noJournal = "nbclearcase_journal:  can't write 'FILE': ...";
inline constexpr const char* noLibrary = "nbclearcase_journal:  ... by NBCLEARCASE_JOURNAL_LIBRARY";

/// Whether `text` is a line, with its end, that the guide describes like this: "..." and words of
/// four or more capital letters may be anything.
inline bool isAsDescribed(const std::string& text, const std::string& described) {
    std::string pattern = std::regex_replace(described, std::regex(R"([.?*()\[\]])"), "\\$&");
    pattern = std::regex_replace(pattern, std::regex(R"(\\\.\\\.\\\.|\b[A-Z]{4,}\b)"), ".*");
    return std::regex_match(text, std::regex(pattern + "\r?\n"));
}

}  // namespace testing_support::guidemessages
