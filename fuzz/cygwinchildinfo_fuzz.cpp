// The record that a Cygwin process passes to its child. Input: its bytes.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "util/assertion.h"
#include "util/cygwinchildinfo.h"

namespace {

/// Returns the little-endian word at an offset of the record.
uint64_t word(const std::vector<unsigned char>& record, size_t offset) {
    return record[offset] + 0x100U * record[offset + 1] + 0x10000U * record[offset + 2] +
           uint64_t{0x1000000} * record[offset + 3];
}

std::optional<uint32_t> expectedMagic(const std::vector<unsigned char>& record) {
    constexpr uint32_t intro = 0xaf00fa00;
    const size_t size = record.size();
    if (size >= 29 && word(record, 0) == 0 && word(record, 4) == 0 && word(record, 8) == 0 &&
        word(record, 12) == 0 && word(record, 16) == size && word(record, 20) == intro) {
        return static_cast<uint32_t>(word(record, 24));
    }
    if (size >= 17 && word(record, 4) == size && word(record, 8) == intro) {
        return static_cast<uint32_t>(word(record, 12));
    }
    return std::nullopt;
}

void check(const std::vector<unsigned char>& record) {
    NB_ASSERT(cygwin::child_info_magic(record) == expectedMagic(record));
}

void putSize(std::vector<unsigned char>& record, size_t offset) {
    for (size_t i = 0; i < 4 && offset + i < record.size(); ++i) {
        record[offset + i] = static_cast<unsigned char>(record.size() >> (8 * i));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<unsigned char> record(data, data + size);
    check(record);
    // With the right size in either place more inputs are records.
    putSize(record, 16);
    check(record);
    record.assign(data, data + size);
    putSize(record, 4);
    check(record);
    return 0;
}
