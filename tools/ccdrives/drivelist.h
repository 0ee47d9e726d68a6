#pragma once

// The format of the text that lists the connections of the provider, one item a line:
//
//     # A comment. Empty lines are ignored as well.
//     M: | \\view | ClearCase Dynamic Views
//     x: | \\view\tag1
//     batch
//     -  | \\server\share | -
//     fail 1222
//
// A line with bars is a connection: local name, remote name, provider. The blanks around them are
// removed. "-" means a null pointer; an empty field means an empty text. Without a third field, the
// provider is "ClearCase Dynamic Views". Wine's mpr.dll stops the process at a null pointer from a
// provider, so an empty text is the closest substitute there.
//
// "batch" ends a batch: NPEnumResource returns the lines above it, as far as they fit, and the
// lines after it belong to another answer.
//
// "fail NUMBER" also ends a batch. The answer after that is the error NUMBER, without any
// connection. The enumeration may be continued. At the end of the text, every answer is
// WN_NO_MORE_ENTRIES (259).
//
// "open NUMBER", anywhere, makes NPOpenEnum fail with NUMBER.
//
// The system decides which of these results reach a caller of the WNet functions. Wine's mpr.dll
// reports neither failure: the enumeration opens, and ends at a step that fails.
//
// Lines end with a line feed, or with a carriage return and a line feed; a carriage return anywhere
// else makes its line a bad one. The text is UTF-8, without null characters; a line that isn't is a
// bad one, unless it is a comment. Editors may put a byte order mark before the text.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ccdrives {

inline constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

inline constexpr const char* viewProvider = "ClearCase Dynamic Views";

struct DriveConnection {
    std::optional<std::string> localName;
    std::optional<std::string> remoteName;
    std::optional<std::string> provider;
    /// The number of its line, from 1.
    size_t line = 0;

    /// Compares the texts.
    friend bool operator==(const DriveConnection& a, const DriveConnection& b) {
        return a.localName == b.localName && a.remoteName == b.remoteName &&
               a.provider == b.provider;
    }
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

/// A line that has no known form. `what()` is "line NUMBER: TEXT".
class DriveListError : public std::invalid_argument {
public:
    DriveListError(size_t line, const std::string& text);

    size_t mLine;       ///< from 1
    std::string mText;  ///< without the blanks around it
};

/// Parses a text of this format. Throws DriveListError.
[[nodiscard]] DriveList parseDriveList(std::string_view text);

/// Returns the connections of all batches, in the order of their lines.
[[nodiscard]] std::vector<DriveConnection> connectionsOf(const DriveList& list);

/// Returns the line for a connection, without a line end; nothing if no line is parsed as it.
[[nodiscard]] std::optional<std::string> connectionLine(const DriveConnection& connection);

}  // namespace ccdrives
