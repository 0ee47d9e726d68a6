// The lenient UTF-8 decoder. The input is the text.

#include <cstddef>
#include <cstdint>

#include "fuzz/fuzzinput.h"
#include "fuzz/utf8model.h"
#include "util/assertion.h"
#include "util/utf8decoder.h"

namespace {

bool isLowSurrogate(uint32_t value) { return value >= 0xDC00 && value <= 0xDFFF; }

/// Returns the units that a cursor visits. Each step stays in the text and takes one unit or one
/// sequence.
std::u16string walk(StringSpan text) {
    const char* const end = text.data + text.length;
    std::u16string units;
    const char* after = text.data;  // the end of the last sequence
    for (PathUnitCursor cursor(text); !cursor.atEnd(); cursor.next()) {
        NB_ASSERT(cursor.end == end);
        NB_ASSERT(cursor.position >= text.data && cursor.position < end);
        if (cursor.position < after) {
            NB_ASSERT(cursor.position == after - 1 && isLowSurrogate(cursor.value));
        } else {
            const auto rest = static_cast<size_t>(end - after);
            const Utf8Piece piece = firstPiece({after, rest});
            NB_ASSERT(cursor.position == after + piece.length - 1);
            NB_ASSERT(cursor.value == piece.value);
            after += piece.length;
        }
        units += static_cast<char16_t>(cursor.unit);
        NB_ASSERT(units.size() <= text.length);
    }
    NB_ASSERT(after == end);
    return units;
}

/// Decodes at each place, including those inside a sequence.
void checkEveryPlace(StringSpan text) {
    PathUnitCursor cursor(text);
    const char* const end = cursor.end;
    for (size_t place = 0; place < text.length; ++place) {
        const Utf8Piece piece = firstPiece(text.view().substr(place));
        cursor.position = text.data + place;
        decodePathUnit(cursor);
        NB_ASSERT(cursor.value == piece.value);
        NB_ASSERT(cursor.position == text.data + place + piece.length - 1);
    }
    cursor.position = end;
    decodePathUnit(cursor);
    NB_ASSERT(cursor.atEnd() && cursor.position == end && cursor.end == end);
}

/// Checks what is known without decoding again: valid text is restored from its values, and any
/// text from its units.
void checkRoundTrip(std::string_view input, std::u16string_view units) {
    bool isValid = true;
    for (size_t place = 0; place < input.size() && isValid;) {
        const size_t length = wellFormedLength(input.substr(place));
        isValid = length != 0;
        place += length;
    }
    NB_ASSERT(textOfUnits(units) == input);
    if (!isValid) {
        return;
    }
    std::string encoded;
    for (PathUnitCursor cursor(input); !cursor.atEnd(); cursor.next()) {
        const bool isSecondUnit = isLowSurrogate(cursor.value);
        if (!isSecondUnit) {
            appendUtf8(cursor.value, encoded);
        }
    }
    NB_ASSERT(encoded == input);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const ExactText text(input);

    const std::u16string units = walk(text.span());
    NB_ASSERT(units == unitsOf(input));
    checkEveryPlace(text.span());
    checkRoundTrip(input, units);
    return 0;
}
