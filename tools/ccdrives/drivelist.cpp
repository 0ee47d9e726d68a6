#include "tools/ccdrives/drivelist.h"

#include <charconv>
#include <utility>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "util/stringutilities.h"
#include "util/utf8check.h"

namespace ccdrives {
namespace {

using Fields = std::vector<std::string>;

Fields splitLine(const std::string& line, const char* separators) {
    Fields fields;
    boost::algorithm::split(fields, line, boost::algorithm::is_any_of(separators));
    for (std::string& field : fields) {
        trim(field);
    }
    return fields;
}

std::optional<std::string> nameOrNull(const std::string& field) {
    return field == "-" ? std::nullopt : std::optional(field);
}

/// Returns the number in a line of the form "WORD NUMBER", or nothing for any other line.
std::optional<uint32_t> numberAfter(const std::string& word, const std::string& line) {
    const Fields fields = splitLine(line, " ");
    if (fields.size() != 2 || fields[0] != word) {
        return std::nullopt;
    }
    uint32_t number = 0;
    const char* end = fields[1].data() + fields[1].size();
    const auto [stop, failure] = std::from_chars(fields[1].data(), end, number);
    return failure == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// Builds a list from the lines, in their order.
class DriveListBuilder {
public:
    /// Adds a line that is neither empty nor a comment. Returns false if it has no known form.
    bool take(const std::string& line, size_t number) {
        if (line == "batch") {
            endBatch();
        } else if (const auto openError = numberAfter("open", line)) {
            mList.openError = *openError;
        } else if (const auto error = numberAfter("fail", line)) {
            endBatch();
            mList.batches.push_back({.connections = {}, .error = *error});
        } else {
            return takeConnection(splitLine(line, "|"), number);
        }
        return true;
    }

    DriveList finish() {
        endBatch();
        return std::move(mList);
    }

private:
    bool takeConnection(const Fields& fields, size_t number) {
        if (fields.size() != 2 && fields.size() != 3) {
            return false;
        }
        mBatch.connections.push_back(
            {.localName = nameOrNull(fields[0]),
             .remoteName = nameOrNull(fields[1]),
             .provider = fields.size() == 3 ? nameOrNull(fields[2]) : viewProvider,
             .line = number});
        return true;
    }

    void endBatch() {
        if (!mBatch.connections.empty()) {
            mList.batches.push_back(std::move(mBatch));
            mBatch = DriveBatch();
        }
    }

    DriveList mList;
    DriveBatch mBatch;
};

}  // namespace

DriveListError::DriveListError(size_t line, const std::string& text)
    : std::invalid_argument("line " + std::to_string(line) + ": " + text),
      mLine(line),
      mText(text) {}

DriveList parseDriveList(std::string_view text) {
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    DriveListBuilder builder;
    size_t number = 0;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const bool isEnded = end != std::string_view::npos;
        std::string line(text.substr(0, end));
        text.remove_prefix(isEnded ? end + 1 : text.size());
        ++number;
        if (isEnded && line.ends_with('\r')) {
            line.pop_back();
        }
        // Where carriage returns alone end the lines, a comment would hide all that follows.
        const bool isOneLine = line.find('\r') == std::string::npos;
        trim(line);
        const bool isNothing = line.empty() || line.front() == '#';
        // In UTF-16 or a code page, a line would name other drives than it seems to.
        const bool isText = isUtf8(line) && line.find('\0') == std::string::npos;
        if (!isOneLine || !(isNothing || (isText && builder.take(line, number)))) {
            throw DriveListError(number, line);
        }
    }
    return builder.finish();
}

std::vector<DriveConnection> connectionsOf(const DriveList& list) {
    std::vector<DriveConnection> all;
    for (const DriveBatch& batch : list.batches) {
        all.insert(all.end(), batch.connections.begin(), batch.connections.end());
    }
    return all;
}

std::optional<std::string> connectionLine(const DriveConnection& connection) {
    std::string line =
        connection.localName.value_or("-") + " | " + connection.remoteName.value_or("-");
    if (connection.provider != viewProvider) {
        line += " | " + connection.provider.value_or("-");
    }
    try {
        const std::vector<DriveConnection> parsed = connectionsOf(parseDriveList(line));
        if (parsed.size() == 1 && parsed.front() == connection) {
            return line;
        }
    } catch (const DriveListError&) {
        // The texts have bars or line ends, or are no UTF-8.
    }
    return std::nullopt;
}

}  // namespace ccdrives
