#include "tools/ccquery/journals/journalfiles.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <string_view>

namespace ccquery {
namespace {

/// Returns how many bytes the stream has, or the largest number if it can't tell, as for a pipe.
uint64_t sizeOf(std::istream& stream) {
    stream.seekg(0, std::ios::end);
    const std::streamoff size = stream.tellg();
    stream.clear();
    stream.seekg(0);
    stream.clear();
    return size > 0 ? static_cast<uint64_t>(size) : std::numeric_limits<uint64_t>::max();
}

/// Reads what the stream has now: a library that is asked may append to the journal that is being
/// read, which would never end. Returns whether that was read to its end.
bool readStream(std::istream& stream, JournalReader& reader, uint64_t& bytes,
                const JournalSource& source) {
    // Few lines, since a library that is asked about each may be slow.
    constexpr size_t pieceSize = 4096;
    std::vector<char> block(size_t{1} << 20);
    uint64_t left = sizeOf(stream);
    while (stream && left != 0) {
        stream.read(block.data(),
                    static_cast<std::streamsize>(std::min<uint64_t>(block.size(), left)));
        const auto size = static_cast<size_t>(stream.gcount());
        left -= size;
        for (std::string_view rest(block.data(), size); !rest.empty();) {
            const std::string_view piece = rest.substr(0, pieceSize);
            rest.remove_prefix(piece.size());
            reader.read(piece);
            bytes += piece.size();
            source.progress(bytes);
        }
    }
    return !stream.bad();
}

}  // namespace

std::string placeText(const std::vector<std::string>& files, const JournalPlace& place) {
    const std::string& file = files[place.file];
    return place.line == 0 ? file : file + ':' + std::to_string(place.line);
}

void reportProblem(const std::vector<std::string>& files, JournalProblem kind,
                   const JournalPlace& place, const std::string& problem,
                   LimitedMessages& messages) {
    const std::string where = placeText(files, place) + ": ";
    switch (kind) {
        case JournalProblem::notJson:
            messages.add("lines that are no JSON object",
                         where + "no JSON object; the line is left out");
            break;
        case JournalProblem::torn:
            messages.add("torn lines", where + "the last line is torn; it is left out");
            break;
        case JournalProblem::tooLong:
            messages.add("lines that are too long", where + problem + "; it is left out");
            break;
        case JournalProblem::otherVersion:
            messages.add("lines of another version",
                         where + "a line of " + problem +
                             " of the format, and this is for version 1; use the ccquery that "
                             "belongs to the journal");
            break;
        case JournalProblem::operation:
            messages.add("lines with an unknown operation",
                         where + problem + "; the line is left out");
            break;
        case JournalProblem::field:
            messages.add("lines with a field that is missing or wrong",
                         where + problem + "; the line is left out");
            break;
        case JournalProblem::empty:
            messages.add("empty journals",
                         where + "the journal is empty; name one that a host has written");
            break;
        case JournalProblem::unreadable:
            messages.add("journals that can't be read", "can't read the journal '" +
                                                            files[place.file] + "': " + problem +
                                                            "; name another");
            break;
    }
}

void readJournals(const std::vector<std::string>& files, const JournalSource& source,
                  JournalVisitor& visitor) {
    JournalReader reader(visitor);
    uint64_t bytes = 0;
    for (size_t file = 0; file < files.size(); ++file) {
        std::unique_ptr<std::istream> stream;
        try {
            stream = source.open(files[file]);
        } catch (const std::exception& error) {
            visitor.report(JournalProblem::unreadable, {.file = file, .line = 0}, error.what());
            continue;
        }
        reader.begin(file);
        if (readStream(*stream, reader, bytes, source)) {
            reader.end();
        } else {
            visitor.report(JournalProblem::unreadable, {.file = file, .line = 0},
                           "it can't be read to its end");
        }
    }
}

}  // namespace ccquery
