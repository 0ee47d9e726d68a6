// What connecting and disconnecting do to any list of drives: the other connections stay, and so
// does the rest of the text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/ccdrives/driveedit.h"
#include "tools/ccdrives/drivelist.h"
#include "util/assertion.h"

namespace {

using namespace ccdrives;

std::vector<DriveConnection> connectionsIn(const std::string& list) {
    return connectionsOf(parseDriveList(list));
}

/// A connection that isn't connected in the list comes into it, and leaves it again.
void checkEdits(const std::string& list) {
    const std::vector<DriveConnection> before = connectionsIn(list);
    std::string connected;
    try {
        connected = withConnection(list, "q:", "\\\\view\\a tag");
    } catch (const DriveError&) {
        return;  // the drive has another connection
    }
    const std::vector<DriveConnection> after = connectionsIn(connected);
    if (connected == list) {
        NB_ASSERT(after == before);
        return;
    }
    NB_ASSERT(after.size() == before.size() + 1);
    NB_ASSERT(std::equal(before.begin(), before.end(), after.begin()));
    const DriveConnection added{"Q:", "\\\\view\\a tag", viewProvider};
    NB_ASSERT(after.back() == added);
    NB_ASSERT(withConnection(connected, "Q:", "\\\\view\\a tag") == connected);
    NB_ASSERT(connectionsIn(withoutDrive(connected, "Q:")) == before);
}

/// Each connection has a line that is parsed as it, unless a byte order mark in front of it would
/// be taken for that of the list.
void checkLines(const std::string& list) {
    for (const DriveConnection& connection : connectionsIn(list)) {
        const auto line = connectionLine(connection);
        NB_ASSERT(line || connection.localName.value_or("").starts_with(byteOrderMark));
        NB_ASSERT(!line || connectionsIn(*line).at(0) == connection);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string list(reinterpret_cast<const char*>(data), size);
    try {
        checkLines(list);
    } catch (const DriveListError& error) {
        const auto lines = static_cast<size_t>(std::count(list.begin(), list.end(), '\n')) + 1;
        NB_ASSERT(error.mLine >= 1 && error.mLine <= lines);
        return 0;
    }
    checkEdits(list);
    return 0;
}
