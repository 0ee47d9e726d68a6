#include "tools/ccdrives/driveedit.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/ccdrives/drivelist.h"
#include "tools/shared/report.h"
#include "util/stringutilities.h"

namespace ccdrives {
namespace {

constexpr std::string_view mvfsName = "\\\\view";

/// What a new list begins with.
constexpr std::string_view heading =
    "# The drives that ccdrives has connected. docs/drives.md describes the format.\r\n";

/// The lines of a text, each with its end.
std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

/// Returns the part of a list before its lines.
std::string_view markOf(std::string_view list) {
    return list.starts_with(byteOrderMark) ? byteOrderMark : std::string_view();
}

/// Returns the text of a list with the mark before the lines.
std::string textOf(std::string_view mark, const std::vector<std::string>& lines) {
    std::string text(mark);
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

/// Whether the connection is one of the drive, which is in upper case.
bool isOf(const DriveConnection& connection, const std::string& drive) {
    std::string name = connection.localName.value_or("");
    toUpper(name);
    return name == drive;
}

/// Returns the end of the lines in a text: that of its last complete line.
std::string lineEndOf(const std::string& text) {
    const size_t feed = text.rfind('\n');
    const bool isAlone = feed != std::string::npos && (feed == 0 || text[feed - 1] != '\r');
    return isAlone ? "\n" : "\r\n";
}

/// Throws DriveError if the drive can't get the connection because of another one.
void checkIsFree(const DriveConnection& other, const std::string& drive,
                 const std::string& remoteName) {
    if (isOf(other, drive)) {
        throw DriveError(drive + " is connected with " + other.remoteName.value_or("nothing") +
                         "; disconnect it first");
    }
    if (remoteName == mvfsName && other.remoteName == mvfsName && other.provider == viewProvider) {
        throw DriveError(other.localName.value_or("-") +
                         " is the MVFS drive, and there is only one; disconnect it first");
    }
}

}  // namespace

std::string checkedDrive(const std::string& text) {
    std::string drive = text;
    toUpper(drive);
    if (drive.size() != 2 || drive[0] < 'A' || drive[0] > 'Z' || drive[1] != ':') {
        throw DriveError("'" + text + "' is no drive; write a letter and a colon, such as M:");
    }
    return drive;
}

void checkRemoteName(const std::string& text) {
    if (text == mvfsName) {
        return;
    }
    const std::string beginning = std::string(mvfsName) + '\\';
    if (!text.starts_with(beginning) || text == beginning) {
        throw DriveError("'" + text +
                         "' is no remote name; write \\\\view for the MVFS drive, or \\\\view\\TAG "
                         "for the drive of a view");
    }
    const std::string tag = text.substr(beginning.size());
    if (tag.size() > longestTag) {
        throw DriveError("the view tag has " + std::to_string(tag.size()) +
                         " bytes; write one of at most " + std::to_string(longestTag));
    }
    // What oneLine changes are control characters, and bytes that aren't UTF-8.
    if (tag.find_first_of("\\/|") != std::string::npos || tools::oneLine(tag) != tag ||
        tag.front() == ' ' || tag.back() == ' ') {
        throw DriveError("'" + tag +
                         "' is no view tag; write one without \\, /, |, control characters and "
                         "blanks at its ends");
    }
}

std::string withConnection(const std::string& list, const std::string& drive,
                           const std::string& remoteName) {
    const DriveConnection wanted{
        .localName = checkedDrive(drive), .remoteName = remoteName, .provider = viewProvider};
    checkRemoteName(remoteName);
    const std::vector<DriveConnection> connections = connectionsOf(parseDriveList(list));
    const auto isWanted = [&](const DriveConnection& other) {
        return isOf(other, *wanted.localName) && other.remoteName == wanted.remoteName &&
               other.provider == wanted.provider;
    };
    if (std::any_of(connections.begin(), connections.end(), isWanted)) {
        return list;
    }
    for (const DriveConnection& other : connections) {
        checkIsFree(other, *wanted.localName, remoteName);
    }
    const std::string_view mark = markOf(list);
    std::vector<std::string> lines = linesOf(list == mark ? heading : list.substr(mark.size()));
    const std::string lineEnd = lineEndOf(textOf(mark, lines));
    const size_t place = connections.empty() ? lines.size() : connections.back().line;
    if (!lines[place - 1].ends_with('\n')) {
        lines[place - 1] += lineEnd;
    }
    // The names are checked, so there is a line for them.
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(place),
                 connectionLine(wanted).value() + lineEnd);
    return textOf(mark, lines);
}

std::string withoutDrive(const std::string& list, const std::string& drive) {
    const std::string name = checkedDrive(drive);
    const std::vector<DriveConnection> connections = connectionsOf(parseDriveList(list));
    const std::string_view mark = markOf(list);
    std::vector<std::string> lines = linesOf(list.substr(mark.size()));
    for (const DriveConnection& connection : connections) {
        if (isOf(connection, name)) {
            lines[connection.line - 1].clear();
        }
    }
    return textOf(mark, lines);
}

}  // namespace ccdrives
