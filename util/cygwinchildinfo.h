#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace cygwin {

/// Returns the CHILD_INFO_MAGIC of the record that a Cygwin process passes to its child in
/// STARTUPINFO's `lpReserved2` and `cbReserved2`, or nothing if the bytes aren't such a record.
/// Both layouts are recognized, and any magic is accepted. Any bytes may be given; any thread may
/// call.
[[nodiscard]] std::optional<uint32_t> child_info_magic(std::span<const unsigned char> record);

/// Returns whether a known release of the runtime has this CHILD_INFO_MAGIC.
[[nodiscard]] bool is_known_magic(uint32_t magic);

}  // namespace cygwin
