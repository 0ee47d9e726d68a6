#pragma once

// The text from which the provider of the test bed takes its connections, one thing a line:
//
//     # A comment. Empty lines are ignored as well.
//     M: | \\view | ClearCase Dynamic Views
//     x: | \\view\tag1
//     batch
//     -  | \\server\share | -
//     fail 1222
//
// A line with bars is a connection: local name, remote name, provider, with the blanks around them
// taken off. "-" stands for a null pointer, nothing at all for an empty text. Without a third field
// the provider is "ClearCase Dynamic Views". Wine's mpr.dll stops the process at a null pointer
// that a provider hands it: there an empty text is as near as one gets.
//
// "batch" ends a batch: NPEnumResource hands over what stands above it, as far as that fits, and
// the next lines go with another answer.
//
// "fail NUMBER" ends a batch as well, and the answer behind it is the error NUMBER, without any
// connection. The enumeration may be continued. At the end of the text every answer is
// WN_NO_MORE_ENTRIES (259).
//
// "open NUMBER", anywhere, makes NPOpenEnum fail with NUMBER.
//
// What of this reaches a caller of the WNet functions is the system's affair. Wine's mpr.dll keeps
// both failures to itself: the enumeration opens, and a step that fails is its end.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct DriveConnection {
    std::optional<std::string> localName;
    std::optional<std::string> remoteName;
    std::optional<std::string> provider;
};

/// One answer of the enumeration: some connections, or an error.
struct DriveBatch {
    std::vector<DriveConnection> connections;
    uint32_t error = 0;
};

struct DriveList {
    uint32_t openError = 0;
    std::vector<DriveBatch> batches;
};

/// Reads the text above; lines end with a line feed or with both characters. Throws
/// std::invalid_argument with the number and the text of a line that is none of these.
DriveList parseDriveList(std::string_view text);
