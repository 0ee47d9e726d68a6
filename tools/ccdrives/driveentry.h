#pragma once

// How much of an answer of Windows a connection takes.

#include <cstddef>

#include "tools/ccdrives/drivelist.h"

namespace ccdrives {

/// What `nbclearcase_fake.dll` takes for a connection. A longer one ends its search for drives.
inline constexpr size_t longestEntry = 1024;

/// Returns the bytes of the connection's entry as a network provider answers it to a 64-bit
/// program: a NETRESOURCEW and the texts, in UTF-16. Bytes that aren't UTF-8 may count or not.
[[nodiscard]] size_t entrySize(const DriveConnection& connection);

}  // namespace ccdrives
