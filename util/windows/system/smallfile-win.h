#pragma once

#include <cstdint>
#include <string>

#include "util/textspan.h"

// Whole small files, new directories, and files that somebody else holds for a moment. Paths are
// UTF-8, of any length. Any thread may call.

/// What `readFile` returns: 0, or the number of a message (util/numberedmessage.h).
enum ReadFileResult : int {
    fileIsRead = 0,
    fileNotOpened = 5001,
    fileNotClosed = 5002,
    fileNotRead = 5003,
    fileSizeUnknown = 5004,
    fileTooLong = 5005,  ///< for a size_t
    fileBeyondMemory = 5006,
};

/// Appends the bytes of a file to `text` and returns 0. On failure the result is a
/// `ReadFileResult`, and `text` holds the message for it in place of what it held; GetLastError is
/// then that of the failed call. Never throws.
///
/// As many bytes are read as the file has when it is opened; fewer if it has become shorter. Others
/// may use the file meanwhile.
int readFile(const std::string& path, std::string& text) noexcept;

/// "PATH: WHAT: SENTENCE", with the words for GetLastError, which is kept, and escapes in the path
/// where it isn't ASCII.
std::string fileErrorText(StringSpan path, StringSpan what);

/// The numbers behind names that are new: any start, from which each is the one before and a step,
/// modulo 0x7fffffff.
struct UniqueSuffix {
    static constexpr uint32_t modulus = 0x7fffffff;

    /// Goes on to the next number; if `mStep` is 0, to the first, which comes from the clock and,
    /// like the step, from the process.
    void advance();

    uint32_t mValue = 0;
    uint32_t mStep = 0;
};

/// Names that begin with `prefix` and go on with six digits and capital letters (up to V). Nothing
/// is made.
class UniqueName {
public:
    explicit UniqueName(const std::string& prefix, const UniqueSuffix& suffix = {});

    /// The next name, good until the next call.
    const std::string& next();

private:
    std::string mName;
    UniqueSuffix mSuffix;
};

/// Makes a directory whose name is `prefix`, which may be a path, and six more characters, and
/// returns that. Empty on failure, which is in GetLastError.
std::string makeUniqueDirectory(const std::string& prefix);

/// System::rename (on one volume) and System::remove (`force` is handed on) for what a scanner or
/// another process may hold open for a moment: after a failure up to 599 more tries follow, each a
/// tenth of a second after the one before. True if one succeeds. After any failure, GetLastError is
/// that of the first, also on success.
bool renameRetrying(const std::string& from, const std::string& to);
bool removeRetrying(const std::string& path, bool force);
