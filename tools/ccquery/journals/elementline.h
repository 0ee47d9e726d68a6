#pragma once

// Lines of a configuration, made of answers. What a line then means is up to the library's reader:
// these functions only find a line that may do.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ccquery {

/// An answer to `getElementStatus`. The texts are nothing if the host didn't ask for them.
struct StatusAnswer {
    int32_t type = 0;
    std::optional<std::string> version = {};
    std::optional<std::string> target = {};

    friend bool operator==(const StatusAnswer&, const StatusAnswer&) = default;
};

/// Lines that may make the fake give an answer.
struct ElementLines {
    std::vector<std::string> candidates = {};  ///< with their line ends; the likeliest first
    std::string problem = {};                  ///< if there are none, why
};

/// `key` is the key of the element, and `path` its path as the host spelled it. Both are absolute.
[[nodiscard]] ElementLines elementLines(const std::string& key, const std::string& path,
                                        const StatusAnswer& answer);

/// Returns why no line of "[attrs]" or "[vobs]" can begin with this text and a `=`; an empty text
/// if one can.
[[nodiscard]] std::string problemOfName(const std::string& name);

}  // namespace ccquery
