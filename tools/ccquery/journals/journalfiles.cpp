#include "tools/ccquery/journals/journalfiles.h"

#include <exception>
#include <string_view>

namespace ccquery {
namespace {

/// Reads what the stream has. Returns whether it was read to its end.
bool readStream(std::istream& stream, JournalReader& reader, uint64_t& bytes,
                const JournalSource& source) {
    std::vector<char> block(size_t{1} << 20);
    while (stream) {
        stream.read(block.data(), static_cast<std::streamsize>(block.size()));
        const auto size = static_cast<size_t>(stream.gcount());
        reader.read({block.data(), size});
        bytes += size;
        source.progress(bytes);
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
