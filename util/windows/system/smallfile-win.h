#pragma once

#include <cstdint>
#include <string>

#include "util/textspan.h"

// Reading whole small files, making new directories, and repeated tries on files that another
// process holds for a moment. Paths are UTF-8, of any length. Any thread may call these.

/// The results of `readFile`: fileIsRead, or the number of a message (util/numberedmessage.h).
enum ReadFileResult : int {
    fileIsRead = 0,           ///< the only success
    fileNotOpened = 5001,     ///< the file can't be opened
    fileNotClosed = 5002,     ///< the file can't be closed
    fileNotRead = 5003,       ///< the file can't be read
    fileSizeUnknown = 5004,   ///< the file doesn't say how long it is
    fileTooLong = 5005,       ///< for a size_t
    fileBeyondMemory = 5006,  ///< there is no memory for its bytes
};

/// Appends the bytes of a file to `text` and returns fileIsRead. Never throws.
///
/// On failure the result is another `ReadFileResult`, and the message for it replaces the content
/// of `text`. GetLastError then has the error of the failed call.
///
/// Reads as many bytes as the file has when it is opened, or fewer if it becomes shorter. Others
/// may use the file at the same time.
[[nodiscard]] int readFile(const std::string& path, std::string& text) noexcept;

/// Returns "PATH: WHAT: SENTENCE". The sentence is the message for GetLastError, which stays as it
/// is. Characters of the path that aren't ASCII are escaped.
[[nodiscard]] std::string fileErrorText(StringSpan path, StringSpan what);

/// The numbers from which new names are made. The sequence may start anywhere; each number is the
/// previous one plus a step, modulo 0x7fffffff.
struct UniqueSuffix {
    static constexpr uint32_t modulus = 0x7fffffff;  ///< numbers are below it

    /// Advances to the next number. If `mStep` is 0, that is the first number, which is made from
    /// the clock and the process; the step is then made from the process.
    void advance();

    uint32_t mValue = 0;  ///< the current number
    uint32_t mStep = 0;   ///< 0 until the first `advance`, unless it is set
};

/// A sequence of names, each of which is `prefix` followed by six digits or capital letters (up to
/// V). No file is created.
class UniqueName {
public:
    /// `suffix` is where the sequence starts: by default a place that another process is unlikely
    /// to have.
    explicit UniqueName(const std::string& prefix, const UniqueSuffix& suffix = {});

    /// Returns the next name, which is valid until the next call.
    [[nodiscard]] const std::string& next();

private:
    std::string mName;
    UniqueSuffix mSuffix;
};

/// Creates a directory whose name is `prefix`, which may be a path, followed by six characters.
/// Returns its path, or an empty text on failure, with the error in GetLastError.
[[nodiscard]] std::string makeUniqueDirectory(const std::string& prefix);

/// @{
/// Call System::rename (on one volume) and System::remove (with `force`), for files that a scanner
/// or another process may hold open for a moment. After a failure up to 599 more tries follow, each
/// a tenth of a second after the previous one. Return true if a try succeeds. If the first try
/// failed, GetLastError has its error, even after a success.
[[nodiscard]] bool renameRetrying(const std::string& from, const std::string& to);
[[nodiscard]] bool removeRetrying(const std::string& path, bool force);
/// @}
