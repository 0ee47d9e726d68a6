#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace testing_support {

/// What a Cygwin process passes to its child.
using ChildRecord = std::vector<unsigned char>;

inline constexpr uint32_t recordIntro = 0xaf00fa00;
/// CHILD_INFO_MAGIC of the known releases, in ascending order.
inline constexpr auto knownMagics = std::to_array<uint32_t>(
    {0x0482b2ea, 0x0a189e57, 0x110015ea, 0x1630848c, 0x3a24db6a, 0x3ebda16a, 0x4160e87b, 0x704d1f7e,
     0x7901d74e, 0x88e640f7, 0xc87757a7, 0xe850717a});

/// Stores `word` in little-endian order. Bytes after the record's end are dropped.
inline void putWord(ChildRecord& record, size_t offset, uint32_t word) {
    for (size_t i = 0; i < sizeof word && offset + i < record.size(); ++i) {
        record[offset + i] = static_cast<unsigned char>(word >> (8 * i));
    }
}

/// Returns a record of `size` bytes. The bytes after the fields are 0xCC.
inline ChildRecord newerRecord(size_t size, uint32_t magic) {
    ChildRecord record(size, 0xCC);
    for (size_t offset = 0; offset < 16; offset += 4) {
        putWord(record, offset, 0);
    }
    putWord(record, 16, static_cast<uint32_t>(size));
    putWord(record, 20, recordIntro);
    putWord(record, 24, magic);
    return record;
}

/// The same in the older layout, with a first word that isn't zero.
inline ChildRecord olderRecord(size_t size, uint32_t magic) {
    ChildRecord record(size, 0xCC);
    putWord(record, 4, static_cast<uint32_t>(size));
    putWord(record, 8, recordIntro);
    putWord(record, 12, magic);
    return record;
}

}  // namespace testing_support
