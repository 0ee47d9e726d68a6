#include "tools/ccdrives/driveentry.h"

#include <algorithm>
#include <optional>
#include <string>

#include "tools/shared/characters.h"

namespace ccdrives {
namespace {

constexpr size_t structureSize = 48;
constexpr size_t unitSize = 2;

/// Returns the bytes in UTF-16, with the null character at the end. Four bytes of UTF-8 are two
/// units.
size_t textSize(const std::optional<std::string>& text) {
    if (!text) {
        return 0;
    }
    const auto pairs = std::count_if(text->begin(), text->end(), [](char byte) {
        return static_cast<unsigned char>(byte) >= 0xf0;
    });
    return (tools::characterCount(*text) + static_cast<size_t>(pairs) + 1) * unitSize;
}

}  // namespace

size_t entrySize(const DriveConnection& connection) {
    return structureSize + textSize(connection.localName) + textSize(connection.remoteName) +
           textSize(connection.provider);
}

}  // namespace ccdrives
