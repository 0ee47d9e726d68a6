#pragma once

// Byte operations for the path functions, and for lines that have a path: finding a byte, or
// separators and dots, copying with separators of one kind, and measuring how far two texts agree.
// Each has a plain form, which defines what it does, and a form for 64-bit x86 (which always has
// SSE2) that handles sixteen bytes at a time. Paths are bytes here: nothing is decoded, and bytes
// from 0x80 up aren't letters.
//
// Only the given bytes are read or written. The functions are meant for paths of a few dozen bytes.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#if defined(__x86_64__) || defined(_M_X64)
#define NB_PATHBYTES_SSE2 1
#include <emmintrin.h>
#endif

/// Loops over the bytes of paths.
namespace pathbytes {

/// Bit i describes byte i of a text of at most `markedBytes` bytes.
struct Marks {
    uint64_t separators = 0;  ///< `/` and `\`
    uint64_t dots = 0;        ///< `.`

    /// Marks are equal if all bits are.
    friend constexpr bool operator==(const Marks&, const Marks&) = default;
};
inline constexpr size_t markedBytes = 64;  ///< how many bytes one value describes

/// XOR with this value turns `/` into `\` and back.
inline constexpr char separatorsDiffer = '/' ^ '\\';

/// The plain forms.
namespace plain {

/// Returns where `wanted` is first among `count` bytes, or `count` if it isn't there. The runtime's
/// memchr may look at one byte after the other.
[[nodiscard]] constexpr size_t findByte(char wanted, const char* text, size_t count) {
    size_t at = 0;
    while (at < count && text[at] != wanted) {
        ++at;
    }
    return at;
}

/// Returns the marks of `count` bytes, at most `markedBytes`.
[[nodiscard]] constexpr Marks marksOf(const char* text, size_t count) {
    Marks marks;
    for (size_t i = 0; i < count; ++i) {
        const bool isSeparator = text[i] == '/' || text[i] == '\\';
        marks.separators |= uint64_t{isSeparator} << i;
        marks.dots |= uint64_t{text[i] == '.'} << i;
    }
    return marks;
}

/// Copies `count` bytes and replaces each separator by `separator` (`/` or `\`). `to` may equal
/// `from`, but the two must not overlap otherwise.
constexpr void copySeparatedBy(char separator, const char* from, size_t count, char* to) {
    const char other = static_cast<char>(separator ^ separatorsDiffer);
    for (size_t i = 0; i < count; ++i) {
        to[i] = from[i] == other ? separator : from[i];
    }
}

/// Returns `/` for a separator, the lower-case letter for an ASCII letter, and any other byte
/// unchanged.
[[nodiscard]] constexpr char folded(char c) {
    return c == '\\' ? '/' : c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// Returns how many bytes at the start of two texts are alike, at most `count`: equal except for
/// the case of ASCII letters and the kind of separators.
[[nodiscard]] constexpr size_t alikeLength(const char* a, const char* b, size_t count) {
    size_t length = 0;
    while (length < count && folded(a[length]) == folded(b[length])) {
        ++length;
    }
    return length;
}

}  // namespace plain

#ifdef NB_PATHBYTES_SSE2

// If the last bytes don't fill a block, the last block begins earlier and overlaps the one before,
// so that some bytes are processed twice.
namespace sse2 {

inline constexpr size_t block = 16;
inline constexpr size_t halfBlock = 8;

[[nodiscard]] inline __m128i load(const char* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}
[[nodiscard]] inline __m128i loadHalf(const char* from) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
}
[[nodiscard]] inline uint64_t bitsOf(__m128i bytes) {
    return static_cast<uint32_t>(_mm_movemask_epi8(bytes));
}

/// Returns the bytes of a text shorter than `halfBlock`, padded with zeros.
[[nodiscard]] inline uint64_t loadShort(const char* from, size_t count) {
    const auto byteAt = [from](size_t at) {
        return uint64_t{static_cast<unsigned char>(from[at])} << (8 * at);
    };
    if (count < sizeof(uint32_t)) {
        return count == 0 ? 0 : byteAt(0) | byteAt(count / 2) | byteAt(count - 1);
    }
    uint32_t first = 0;
    uint32_t last = 0;
    const size_t lastAt = count - sizeof last;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + lastAt, sizeof last);
    return first | uint64_t{last} << (8 * lastAt);
}

inline void storeShort(uint64_t bytes, char* to, size_t count) {
    if (count < sizeof(uint32_t)) {
        for (size_t at = 0; at < count; ++at) {
            to[at] = static_cast<char>(bytes >> (8 * at));
        }
        return;
    }
    const size_t lastAt = count - sizeof(uint32_t);
    const auto first = static_cast<uint32_t>(bytes);
    const auto last = static_cast<uint32_t>(bytes >> (8 * lastAt));
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + lastAt, &last, sizeof last);
}

[[nodiscard]] inline size_t findByte(char wanted, const char* text, size_t count) {
    if (count < block) {
        return plain::findByte(wanted, text, count);
    }
    for (size_t at = 0;;) {
        const uint64_t bits = bitsOf(_mm_cmpeq_epi8(load(text + at), _mm_set1_epi8(wanted)));
        if (bits != 0) {
            return at + static_cast<size_t>(std::countr_zero(bits));
        }
        if (at + block == count) {
            return count;
        }
        at = std::min(at + block, count - block);
    }
}

inline void addMarks(__m128i bytes, size_t at, Marks& marks) {
    const __m128i separators = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('/')),
                                            _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\')));
    marks.separators |= bitsOf(separators) << at;
    marks.dots |= bitsOf(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('.'))) << at;
}

[[nodiscard]] inline Marks marksOf(const char* text, size_t count) {
    Marks marks;
    if (count >= block) {
        // The same four steps for every length, so that no branch has to be predicted.
        const size_t last = count - block;
        for (size_t at = 0; at < markedBytes; at += block) {
            addMarks(load(text + std::min(at, last)), std::min(at, last), marks);
        }
    } else if (count >= halfBlock) {
        addMarks(loadHalf(text), 0, marks);
        addMarks(loadHalf(text + count - halfBlock), count - halfBlock, marks);
    } else {
        addMarks(_mm_cvtsi64_si128(static_cast<int64_t>(loadShort(text, count))), 0, marks);
    }
    return marks;
}

[[nodiscard]] inline __m128i separatedBy(char separator, __m128i bytes) {
    const char other = static_cast<char>(separator ^ separatorsDiffer);
    const __m128i others = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(other));
    return _mm_xor_si128(bytes, _mm_and_si128(others, _mm_set1_epi8(separatorsDiffer)));
}

inline void copySeparatedBy(char separator, const char* from, size_t count, char* to) {
    const auto copyBlock = [=](size_t at) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + at),
                         separatedBy(separator, load(from + at)));
    };
    const auto copyHalf = [=](size_t at) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + at),
                         separatedBy(separator, loadHalf(from + at)));
    };
    if (count > 4 * block) {
        for (size_t at = 0; at + block < count; at += block) {
            copyBlock(at);
        }
        copyBlock(count - block);
    } else if (count >= block) {
        const size_t last = count - block;
        for (size_t at = 0; at < 4 * block; at += block) {
            copyBlock(std::min(at, last));
        }
    } else if (count >= halfBlock) {
        copyHalf(0);
        copyHalf(count - halfBlock);
    } else {
        const auto bytes = static_cast<int64_t>(loadShort(from, count));
        const __m128i separated = separatedBy(separator, _mm_cvtsi64_si128(bytes));
        storeShort(static_cast<uint64_t>(_mm_cvtsi128_si64(separated)), to, count);
    }
}

[[nodiscard]] inline __m128i folded(__m128i bytes) {
    // As signed numbers, bytes from 0x80 up are below all letters.
    const __m128i upper = _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8('A' - 1)),
                                        _mm_cmplt_epi8(bytes, _mm_set1_epi8('Z' + 1)));
    return _mm_or_si128(separatedBy('/', bytes), _mm_and_si128(upper, _mm_set1_epi8('a' - 'A')));
}

/// Returns a bit for each byte that is alike in both.
[[nodiscard]] inline uint64_t alike(__m128i a, __m128i b) {
    const uint64_t same = bitsOf(_mm_cmpeq_epi8(a, b));
    return same == 0xFFFF ? same : bitsOf(_mm_cmpeq_epi8(folded(a), folded(b)));
}

[[nodiscard]] inline size_t alikeLength(const char* a, const char* b, size_t count) {
    if (count < halfBlock) {
        return plain::alikeLength(a, b, count);
    }
    if (count < block) {
        for (const size_t at : {size_t{0}, count - halfBlock}) {
            // The upper half of a register is the same in both: it is zero.
            const uint64_t bits = alike(loadHalf(a + at), loadHalf(b + at));
            if (bits != 0xFFFF) {
                return at + static_cast<size_t>(std::countr_one(bits));
            }
        }
        return count;
    }
    for (size_t at = 0;;) {
        const uint64_t bits = alike(load(a + at), load(b + at));
        if (bits != 0xFFFF) {
            return at + static_cast<size_t>(std::countr_one(bits));
        }
        if (at + block == count) {
            return count;
        }
        at = at + 2 * block <= count ? at + block : count - block;
    }
}

}  // namespace sse2

using sse2::alikeLength;
using sse2::copySeparatedBy;
using sse2::findByte;
using sse2::marksOf;

#else

using plain::alikeLength;
using plain::copySeparatedBy;
using plain::findByte;
using plain::marksOf;

#endif

}  // namespace pathbytes
