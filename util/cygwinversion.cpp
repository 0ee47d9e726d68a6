#include "util/cygwinversion.h"

#include <array>
#include <cstddef>
#include <cstdlib>

namespace cygwin {

namespace {

/// Reads a number and moves `text` past it. With scanf, the value of a number beyond the range of
/// its type would be undefined.
bool read_number(const char*& text, uint64_t& number) {
    char* end = nullptr;
    number = static_cast<uint64_t>(std::strtoll(text, &end, /*base=*/10));
    const bool isThere = end != text;
    text = end;
    return isThere;
}

}  // namespace

std::optional<runtime_version> parse_release(const char* text) {
    std::array<uint64_t, 3> numbers{};
    for (size_t i = 0; i < numbers.size(); ++i) {
        if ((i != 0 && *text++ != '.') || !read_number(text, numbers[i])) {
            return std::nullopt;
        }
    }
    return runtime_version{static_cast<uint16_t>(numbers[0] * 1000 + numbers[1]),
                           static_cast<uint16_t>(numbers[2])};
}

std::string version_text(const runtime_version& version) {
    std::string text = std::to_string(version.release / 1000);
    text.append(".").append(std::to_string(version.release % 1000));
    return text.append(".").append(std::to_string(version.patch));
}

}  // namespace cygwin
