#include "util/cygwinchildinfo.h"

#include <algorithm>
#include <iterator>

namespace cygwin {

namespace {

using Record = std::span<const unsigned char>;

constexpr uint32_t intro = 0xaf00fa00;

/// Each one belongs to one release.
constexpr uint32_t known_magics[] = {
    0xe850717a, 0x7901d74e, 0x3ebda16a, 0x3a24db6a, 0x704d1f7e, 0x110015ea,
    0x1630848c, 0x0a189e57, 0x0482b2ea, 0x88e640f7, 0x4160e87b, 0xc87757a7,
};

/// Reads a field of the record, which is little-endian.
uint32_t field(Record record, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < sizeof value; ++i) {
        value |= uint32_t{record[offset + i]} << (8 * i);
    }
    return value;
}

constexpr size_t word = sizeof(uint32_t);
/// The record's size, the intro and the magic are adjacent. At least one byte follows.
constexpr size_t fieldsSize = 3 * word;

std::optional<uint32_t> magic_after(Record record, size_t sizeOffset) {
    if (field(record, sizeOffset) != record.size() || field(record, sizeOffset + word) != intro) {
        return std::nullopt;
    }
    return field(record, sizeOffset + 2 * word);
}

std::optional<uint32_t> newer_magic(Record record) {
    constexpr size_t zeroes = 16;
    if (record.size() <= zeroes + fieldsSize ||
        std::any_of(record.begin(), record.begin() + zeroes,
                    [](unsigned char byte) { return byte != 0; })) {
        return std::nullopt;
    }
    return magic_after(record, zeroes);
}

std::optional<uint32_t> older_magic(Record record) {
    constexpr size_t firstWord = word;
    return record.size() <= firstWord + fieldsSize ? std::nullopt : magic_after(record, firstWord);
}

}  // namespace

std::optional<uint32_t> child_info_magic(Record record) {
    const std::optional<uint32_t> magic = newer_magic(record);
    return magic ? magic : older_magic(record);
}

bool is_known_magic(uint32_t magic) {
    return std::find(std::begin(known_magics), std::end(known_magics), magic) !=
           std::end(known_magics);
}

}  // namespace cygwin
