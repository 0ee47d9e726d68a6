#pragma once

#include <cstdint>

#include "util/textspan.h"

/// Reads UTF-8 text as UTF-16 units, and never fails: a byte that isn't part of a valid sequence
/// becomes the unit 0xDC00 plus that byte (0xDC80 to 0xDCFF), which valid text has only after a
/// high surrogate. So any text can be read as units, and different texts have different units.
///
///     for (PathUnitCursor cursor(text); !cursor.atEnd(); cursor.next()) { use(cursor.unit); }
///
/// The text must outlive the cursor and must not change. Use a cursor on one thread at a time.
struct PathUnitCursor {
    const char* position;  ///< the last byte of the current sequence, or `end`
    const char* end;       ///< one past the text
    uint32_t value;  ///< the current code point, an escaped byte, a low surrogate, or the end mark
    uint16_t unit;   ///< the current UTF-16 unit

    /// The `value` at the end of the text.
    static constexpr uint32_t endMark = 0xDC00;

    /// Moves to the first unit of the text.
    explicit PathUnitCursor(StringSpan text)
        : position(text.data), end(text.data + text.length), value(0), unit(0) {
        decode();
    }

    /// Returns whether there is no unit left.
    [[nodiscard]] bool atEnd() const { return position == end; }

    /// Moves to the next unit. Must not be called at the end.
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

/// Decodes the sequence at `cursor.position`: sets `value`, and moves `position` to the last byte
/// of the sequence. An invalid byte is a sequence of its own. At the end of the text the value is
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
