#include "util/utf8check.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "util/utf8decoder.h"

namespace {

size_t lengthOfAscii(std::string_view text) {
    size_t length = 0;
    uint64_t word = 0;
    for (; text.size() - length >= sizeof word; length += sizeof word) {
        std::memcpy(&word, text.data() + length, sizeof word);
        if ((word & 0x8080808080808080) != 0) {
            return length;
        }
    }
    while (length != text.size() && static_cast<unsigned char>(text[length]) < 0x80) {
        ++length;
    }
    return length;
}

}  // namespace

bool isUtf8(std::string_view text) {
    PathUnitCursor cursor(text.substr(lengthOfAscii(text)));
    while (!cursor.atEnd()) {
        // An invalid byte; a valid sequence never decodes to a surrogate.
        if (cursor.value >= 0xdc80 && cursor.value <= 0xdcff) {
            return false;
        }
        ++cursor.position;
        decodePathUnit(cursor);
    }
    return true;
}
