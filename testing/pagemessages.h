#pragma once

// The messages of ccquery that docs/ccquery.md lists.

#include <array>
#include <regex>
#include <string>

namespace testing_support {

/// Those that only the program itself writes, on Windows.
inline constexpr std::array<const char*, 7> messagesOfWindows = {
    "can't load 'FILE': REASON; name a connection library by --library FILE",
    "'FILE' is no connection library: it doesn't export ClearCaseImplCtor; name another by "
    "--library FILE",
    "'FILE' made no connection; if it doesn't say why above, name another by --library FILE",
    "can't read the configuration 'FILE': REASON; name another by --config FILE",
    "can't read the configuration 'FILE': REASON; name another by check FILE",
    "'PATH' can't be made an absolute path; name a drive, or a server and a share",
    "can't read standard input; make it a file or a pipe",
};

/// Whether `output` is the message as a page describes it: words in capital letters and "..." may
/// be anything, but for what an option is followed by.
inline bool isMessage(const std::string& output, const std::string& described) {
    std::string pattern = std::regex_replace(described, std::regex(R"([.?*()\[\]])"), "\\$&");
    pattern = std::regex_replace(pattern, std::regex(R"((--library|--config|check) FILE)"), "$1 F");
    pattern = std::regex_replace(pattern, std::regex(R"(\\\.\\\.\\\.|\b[A-Z]{4,}\b)"), ".*");
    pattern = std::regex_replace(pattern, std::regex(R"( F$)"), " FILE");
    return std::regex_match(output, std::regex("ccquery: " + pattern + "\n"));
}

}  // namespace testing_support
