#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace cygwin {

/// What a Cygwin process passes to its child as STARTUPINFO's `lpReserved2` and `cbReserved2`: the
/// CHILD_INFO_MAGIC of that record, or nothing if the bytes are no such record. Both layouts are
/// known, and any magic is taken. Any bytes may be given; any thread may call.
std::optional<uint32_t> child_info_magic(std::span<const unsigned char> record);

/// Whether a release of the runtime is known that has this CHILD_INFO_MAGIC.
bool is_known_magic(uint32_t magic);

}  // namespace cygwin
