#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cygwin {

/// A release of the runtime: 1.7.35 is 1007 and 35.
struct runtime_version {
    uint16_t release = 0;  ///< major * 1000 + minor
    uint16_t patch = 0;    ///< the third number
};

/// Reads a release text such as "1.7.35(0.287/5/3)". As with scanf, white space and a sign may
/// precede a number, and everything after the third number is ignored. Returns nothing if there are
/// fewer than three numbers. A number is limited to the range of 64 bits, and then only the lower
/// bits that fit its field remain. Any thread may call.
[[nodiscard]] std::optional<runtime_version> parse_release(const char* text);

/// Returns a text such as "1.7.35".
[[nodiscard]] std::string version_text(const runtime_version& version);

}  // namespace cygwin
