#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cygwin {

/// A release of the runtime: 1.7.35 is 1007 and 35.
struct runtime_version {
    uint16_t release = 0;  ///< major * 1000 + minor
    uint16_t patch = 0;
};

/// Reads a release text such as "1.7.35(0.287/5/3)"; blanks and a sign before a number and all that
/// follows the third are taken as scanf takes them. Nothing if there are fewer than three. A
/// number ends at 64 bits, and then loses all but its field's lower bits. Any thread may call.
std::optional<runtime_version> parse_release(const char* text);

/// "1.7.35".
std::string version_text(const runtime_version& version);

}  // namespace cygwin
