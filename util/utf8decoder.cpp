#include "util/utf8decoder.h"

namespace {

constexpr bool isContinuation(unsigned char byte) { return byte >= 0x80 && byte <= 0xBF; }

constexpr bool isSurrogate(uint32_t value) { return value >= 0xD800 && value <= 0xDFFF; }

/// How many bytes follow a lead byte.
constexpr int continuationsOf(unsigned char lead) {
    return lead <= 0xDF ? 1 : lead <= 0xEF ? 2 : 3;
}

/// Whether a value is a character and takes exactly this many bytes after the lead byte.
constexpr bool isWellFormed(uint32_t value, int continuations) {
    switch (continuations) {
        case 1:
            return value >= 0x80;
        case 2:
            return value >= 0x800 && !isSurrogate(value);
        default:
            return value >= 0x10000 && value <= 0x10FFFF;
    }
}

}  // namespace

void decodePathUnit(PathUnitCursor& cursor) {
    if (cursor.position == cursor.end) {
        cursor.value = PathUnitCursor::endMark;
        return;
    }
    const auto lead = static_cast<unsigned char>(*cursor.position);
    if (lead < 0x80) {
        cursor.value = lead;
        return;
    }
    cursor.value = PathUnitCursor::endMark + lead;
    // A lead byte from 0xF8 up is always invalid: with its bits no value would be in range.
    if (lead < 0xC0 || lead >= 0xF8) {
        return;
    }
    const int continuations = continuationsOf(lead);
    if (cursor.end - cursor.position <= continuations) {
        return;
    }
    uint32_t value = lead & (0x3FU >> continuations);
    for (int i = 1; i <= continuations; ++i) {
        const auto byte = static_cast<unsigned char>(cursor.position[i]);
        if (!isContinuation(byte)) {
            return;
        }
        value = value << 6 | (byte & 0x3FU);
    }
    if (isWellFormed(value, continuations)) {
        cursor.value = value;
        cursor.position += continuations;
    }
}
