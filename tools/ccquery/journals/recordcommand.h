#pragma once

#include <functional>
#include <string>

#include "tools/ccquery/ask.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/journals/journalfiles.h"

namespace ccquery {

/// What `record` needs of the program around it.
struct RecordSurroundings {
    JournalSource source;
    /// Writes to standard output at once, or throws std::exception.
    std::function<void(const std::string&)> print;
    /// Writes a message of one line to standard error.
    std::function<void(const std::string&)> complain;
    std::function<bool(const std::string& file)> exists;
    /// Whether two names, which may be relative, are spellings of one path.
    std::function<bool(const std::string& a, const std::string& b)> isSamePath;
    /// Writes a file that is whole or not there. A file with its name is replaced or else makes it
    /// fail. Throws std::exception with a message of one line that says what to do.
    std::function<void(const std::string& file, const std::string& text, bool replace)> write;
};

/// Writes the configuration with which a fake answers as the journals of `query` say. What it can't
/// repeat causes a complaint with the line of the journal. Returns exitAnswered, exitComplaints if
/// a line isn't reproduced, or exitNoAnswer if no line could be taken; nothing is written then.
///
/// Throws std::runtime_error if a file to be written is a journal of `query` or the other file, or
/// is there already, unless `query` forces it, and what `print` and `write` throw.
[[nodiscard]] ExitCode record(const Query& query, const RecordSurroundings& surroundings);

}  // namespace ccquery
