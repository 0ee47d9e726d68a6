#pragma once

#include <cstdint>

#include "util/textspan.h"

/// Walks UTF-8 text as UTF-16 units, and never fails: a byte that isn't part of a valid sequence
/// becomes the unit 0xDC00 plus that byte (0xDC80 to 0xDCFF), which in valid text stands only
/// behind a high surrogate. So text of any kind has units, and different text has different ones.
///
///     for (PathUnitCursor cursor(text); !cursor.atEnd(); cursor.next()) { use(cursor.unit); }
///
/// The text must outlive the cursor and stay as it is. One thread at a time.
struct PathUnitCursor {
    const char* position;  ///< the last byte of the present sequence, or `end`
    const char* end;       ///< one past the text
    uint32_t value;  ///< the present code point, an escaped byte, a low surrogate, or the end mark
    uint16_t unit;   ///< the present UTF-16 unit

    /// What `value` is at the end of the text.
    static constexpr uint32_t endMark = 0xDC00;

    explicit PathUnitCursor(StringSpan text)
        : position(text.data), end(text.data + text.length), value(0), unit(0) {
        decode();
    }

    bool atEnd() const { return position == end && value == endMark; }

    /// To the next unit; not to be called at the end.
    void next() {
        if (value >= 0x10000) {
            value = (value & 0x3FF) + 0xDC00;
            unit = static_cast<uint16_t>(value);
            return;
        }
        ++position;
        decode();
    }

private:
    void decode();
};

/// Decodes the sequence at `cursor.position`: sets `value`, and `position` to the last byte of the
/// sequence. An invalid byte is a sequence of its own. At the end of the text the value is
/// PathUnitCursor::endMark. `unit` isn't set.
void decodePathUnit(PathUnitCursor& cursor);

inline void PathUnitCursor::decode() {
    if (position != end && static_cast<unsigned char>(*position) < 0x80) {
        value = static_cast<unsigned char>(*position);
        unit = static_cast<uint16_t>(value);
        return;
    }
    decodePathUnit(*this);
    unit = static_cast<uint16_t>(value < 0x10000 ? value : (value >> 10) + 0xD7C0);
}
