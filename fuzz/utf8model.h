#pragma once

// UTF-8 in another implementation than the decoder's: by the Unicode Standard's table of
// well-formed byte sequences, and by division.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The lead bytes from `lead` to `lastLead`, and the bytes that may follow them in second place.
struct WellFormedRow {
    unsigned lead, lastLead, second, lastSecond;
    size_t length;
};
inline constexpr WellFormedRow wellFormedRows[] = {
    {0x00, 0x7F, 0x00, 0xFF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

inline unsigned byteAt(std::string_view text, size_t index) {
    return static_cast<unsigned char>(text[index]);
}

/// Returns the length of the valid sequence that `text` begins with; 0 if there is none.
inline size_t wellFormedLength(std::string_view text) {
    for (const WellFormedRow& row : wellFormedRows) {
        if (text.size() < row.length || byteAt(text, 0) < row.lead ||
            byteAt(text, 0) > row.lastLead) {
            continue;
        }
        bool fits =
            row.length == 1 || (byteAt(text, 1) >= row.second && byteAt(text, 1) <= row.lastSecond);
        for (size_t i = 2; i < row.length; ++i) {
            fits = fits && byteAt(text, i) >= 0x80 && byteAt(text, i) <= 0xBF;
        }
        return fits ? row.length : 0;
    }
    return 0;
}

/// A character, or a byte that is part of none: 0xDC00 is added to that.
struct Utf8Piece {
    size_t length;
    uint32_t value;
};

inline Utf8Piece firstPiece(std::string_view text) {
    const uint32_t lead = byteAt(text, 0);
    const auto continued = [&](size_t index) { return byteAt(text, index) - 0x80; };
    switch (const size_t length = wellFormedLength(text)) {
        case 1:
            return {length, lead};
        case 2:
            return {length, (lead - 0xC0) * 64 + continued(1)};
        case 3:
            return {length, ((lead - 0xE0) * 64 + continued(1)) * 64 + continued(2)};
        case 4:
            return {length,
                    (((lead - 0xF0) * 64 + continued(1)) * 64 + continued(2)) * 64 + continued(3)};
        default:
            return {1, 0xDC00 + lead};
    }
}

/// Calls `use` with each piece.
template <class Use>
void forPieces(std::string_view text, Use use) {
    while (!text.empty()) {
        const Utf8Piece piece = firstPiece(text);
        use(piece);
        text.remove_prefix(piece.length);
    }
}

inline std::u16string unitsOf(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    forPieces(text, [&](const Utf8Piece& piece) {
        if (piece.value < 0x10000) {
            units += static_cast<char16_t>(piece.value);
        } else {
            units += static_cast<char16_t>(0xD800 + (piece.value - 0x10000) / 0x400);
            units += static_cast<char16_t>(0xDC00 + (piece.value - 0x10000) % 0x400);
        }
    });
    return units;
}

inline void appendUtf8(uint32_t value, std::string& out) {
    const auto put = [&](uint32_t byte) { out += static_cast<char>(byte); };
    if (value < 0x80) {
        put(value);
    } else if (value < 0x800) {
        put(0xC0 + value / 64);
        put(0x80 + value % 64);
    } else if (value < 0x10000) {
        put(0xE0 + value / 4096);
        put(0x80 + value / 64 % 64);
        put(0x80 + value % 64);
    } else {
        put(0xF0 + value / 262144);
        put(0x80 + value / 4096 % 64);
        put(0x80 + value / 64 % 64);
        put(0x80 + value % 64);
    }
}

/// Returns the text that has these units: a low surrogate without a high one before it is a byte.
inline std::string textOfUnits(std::u16string_view units) {
    std::string text;
    for (size_t i = 0; i < units.size(); ++i) {
        const uint32_t unit = units[i];
        if (unit / 0x400 == 0xD800 / 0x400 && i + 1 < units.size()) {
            appendUtf8(0x10000 + unit % 0x400 * 0x400 + units[++i] % 0x400U, text);
        } else if (unit / 0x400 == 0xDC00 / 0x400) {
            text += static_cast<char>(unit - 0xDC00);
        } else {
            appendUtf8(unit, text);
        }
    }
    return text;
}
