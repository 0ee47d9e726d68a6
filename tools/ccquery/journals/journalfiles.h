#pragma once

// Journals as files: their names in messages, and reading them one after the other.

#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "tools/ccquery/journals/journalreader.h"
#include "tools/ccquery/journals/limitedmessages.h"

namespace ccquery {

/// Returns "FILE:LINE", or "FILE" if the place is the whole journal.
[[nodiscard]] std::string placeText(const std::vector<std::string>& files,
                                    const JournalPlace& place);

/// Reports a line or a journal that can't be taken, as a `JournalVisitor` gets it.
void reportProblem(const std::vector<std::string>& files, JournalProblem kind,
                   const JournalPlace& place, const std::string& problem,
                   LimitedMessages& messages);

/// What reading needs of the program around it.
struct JournalSource {
    /// Opens a journal in binary mode. Throws std::exception, whose message is the reason, if that
    /// fails. The stream isn't null.
    std::function<std::unique_ptr<std::istream>(const std::string& file)> open;
    /// Called at least every 4 KB with the number of bytes that have been read, of all journals.
    std::function<void(uint64_t bytes)> progress;
};

/// Reads the journals in their order, each as far as it goes when it is opened. One that can't be
/// opened, or not be read to its end, is reported to the visitor; the others are read.
void readJournals(const std::vector<std::string>& files, const JournalSource& source,
                  JournalVisitor& visitor);

}  // namespace ccquery
