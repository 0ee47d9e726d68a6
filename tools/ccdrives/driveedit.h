#pragma once

// Connects and disconnects drives in the text of a list (see drivelist.h). Text in, text out.
// Comments, the order of the lines, their ends and a byte order mark stay as they are.

#include <cstddef>
#include <stdexcept>
#include <string>

namespace ccdrives {

/// In bytes.
inline constexpr size_t longestTag = 255;

/// A drive or a remote name that can't be connected as it is. The message is one line that says
/// what to do.
class DriveError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Returns the drive in upper case. Throws DriveError if `text` isn't a letter and a colon.
[[nodiscard]] std::string checkedDrive(const std::string& text);

/// Throws DriveError if `text` isn't `\\view`, or `\\view\TAG` with a tag that a list can have, of
/// at most longestTag bytes.
void checkRemoteName(const std::string& text);

/// Returns the list with a line that connects the drive, after the last line of a connection. If
/// the drive has the connection already, the list stays as it is. An empty list gets a comment.
///
/// Throws DriveError if the names aren't valid, if the drive is connected with something else, or
/// for a second MVFS drive; and DriveListError if the list has a bad line.
[[nodiscard]] std::string withConnection(const std::string& list, const std::string& drive,
                                         const std::string& remoteName);

/// Returns the list without the lines that connect the drive, of any provider; as it is if there is
/// none. Throws DriveError if the name isn't valid, and DriveListError.
[[nodiscard]] std::string withoutDrive(const std::string& list, const std::string& drive);

}  // namespace ccdrives
