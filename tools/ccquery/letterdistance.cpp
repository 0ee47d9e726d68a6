#include "tools/ccquery/letterdistance.h"

#include <algorithm>
#include <array>

#include "tools/shared/characters.h"

namespace ccquery {
namespace {

using tools::continuesCharacter;

/// Returns the length of the first letter, which has at most four bytes; 0 if there is none.
size_t letterLength(std::string_view text) {
    if (text.empty() || static_cast<unsigned char>(text[0]) < 0x80U) {
        return text.empty() ? 0 : 1;
    }
    const size_t most = std::min<size_t>(text.size(), 4);
    size_t length = 1;
    while (length < most && continuesCharacter(text[length])) {
        ++length;
    }
    return length;
}

/// Whether `steps` steps are enough. An equal letter at the start needs none, whatever follows it.
bool isWithin(std::string_view a, std::string_view b, size_t steps) {
    size_t first = letterLength(a);
    size_t other = letterLength(b);
    while (first != 0 && a.substr(0, first) == b.substr(0, other)) {
        a.remove_prefix(first);
        b.remove_prefix(other);
        first = letterLength(a);
        other = letterLength(b);
    }
    if (a.empty() && b.empty()) {
        return true;
    }
    if (steps == 0) {
        return false;
    }
    const std::string_view restOfA = a.substr(first);
    const std::string_view restOfB = b.substr(other);
    if (isWithin(restOfA, restOfB, steps - 1)) {  // replaced, or put at the end
        return true;
    }
    if (a.empty() || b.empty()) {
        return false;
    }
    if (isWithin(restOfA, b, steps - 1) || isWithin(a, restOfB, steps - 1)) {
        return true;
    }
    const size_t second = letterLength(restOfA);
    const bool isSwapped = restOfA.substr(0, second) == b.substr(0, other) &&
                           restOfB.substr(0, letterLength(restOfB)) == a.substr(0, first);
    return isSwapped && isWithin(restOfA.substr(second), restOfB.substr(first), steps - 1);
}

/// Whether more than `limit` bits are set.
bool hasMoreBits(uint64_t bits, size_t limit) {
    for (; limit != 0 && bits != 0; --limit) {
        bits &= bits - 1;
    }
    return bits != 0;
}

}  // namespace

size_t letterDistance(std::string_view a, std::string_view b, size_t limit) {
    size_t steps = 0;
    while (steps <= limit && !isWithin(a, b, steps)) {
        ++steps;
    }
    return steps;
}

LetterSet::LetterSet(std::string_view text) {
    constexpr size_t bits = 64;
    std::array<uint8_t, bits> counts{};  // by the hash of the letter; more than 255 begin again
    while (!text.empty()) {
        const size_t length = letterLength(text);
        uint64_t letter = 0;
        for (const char byte : text.substr(0, length)) {
            letter = letter << 8U | static_cast<unsigned char>(byte);
        }
        text.remove_prefix(length);
        const size_t hash = letter * 0x9e37'79b9'7f4a'7c15U >> 58U;
        mMarks |= uint64_t{1} << (hash + uint64_t{29} * counts[hash]++) % bits;
    }
}

bool LetterSet::mayBeWithin(LetterSet other, size_t limit) const {
    // A step puts at most one letter in and takes at most one out.
    return !hasMoreBits(mMarks & ~other.mMarks, limit) &&
           !hasMoreBits(other.mMarks & ~mMarks, limit);
}

}  // namespace ccquery
