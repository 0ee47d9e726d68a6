#pragma once

#include <istream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tools/ccquery/journals/journalfiles.h"

namespace testing_support {

/// Returns a line of a journal, with its line feed. `arguments` and `result` are JSON; a result
/// that begins with "!" is an exception.
inline std::string journalLine(const std::string& operation, const std::string& arguments,
                               const std::string& result, int process = 1, int connection = 1) {
    const bool failed = result.starts_with('!');
    return R"({"version":1,"process":)" + std::to_string(process) + R"(,"connection":)" +
           std::to_string(connection) + R"(,"operation":")" + operation + R"(","arguments":)" +
           arguments + (failed ? R"(,"exception":)" : R"(,"result":)") +
           (failed ? result.substr(1) : result) + "}\n";
}

/// A line of `connect`; `viewRoot` is JSON.
inline std::string connectLine(const std::string& viewRoot = "null", int process = 1,
                               int connection = 1) {
    return journalLine("connect", "{}", R"({"CLEARCASE_ROOT":)" + viewRoot + "}", process,
                       connection);
}

/// A line of `getElementStatus` with both texts, empty before; all three texts are JSON.
inline std::string statusLine(const std::string& path, int type, const std::string& version,
                              const std::string& target = R"("")", int process = 1) {
    return journalLine("getElementStatus", R"({"path":)" + path + R"(,"version":"","target":""})",
                       R"({"type":)" + std::to_string(type) + R"(,"version":)" + version +
                           R"(,"target":)" + target + "}",
                       process);
}

/// Journals by the names of their files.
inline ccquery::JournalSource sourceOf(std::map<std::string, std::string> files) {
    return {.open = [files = std::move(files)](
                        const std::string& file) -> std::unique_ptr<std::istream> {
                const auto found = files.find(file);
                if (found == files.end()) {
                    throw std::runtime_error("no such file");
                }
                return std::make_unique<std::istringstream>(found->second);
            },
            .progress = [](uint64_t) {}};
}

}  // namespace testing_support
