#pragma once

// Reads text of any code page that Windows knows as UTF-8: the output of child processes and of the
// console.

#include <cstdint>
#include <cstdio>
#include <istream>
#include <sstream>

/// Reads a file in blocks of 4096 bytes and converts each one to UTF-8.
///
/// Takes ownership of `file`, which must not be null, and closes it. It must be open in binary
/// mode; otherwise line ends and Ctrl+Z are changed before the conversion. `codePage` is one of
/// MultiByteToWideChar.
///
/// If `lenient` is set, bytes that are invalid in the code page become what the system puts in
/// their place. Otherwise, the read that meets them throws Win32Exception "MultiByteToWideChar"
/// with ERROR_NO_UNICODE_TRANSLATION (1113), and the next read continues after that block. Some
/// code pages don't leave the choice:
///
///     54936 (GB 18030), 65001 (UTF-8)                  never lenient
///     42, 50220, 50221, 50222, 50225, 50227, 50229,
///     57002 to 57011, 65000                            always lenient
///
/// A character that crosses the end of a block is read whole, unless the code page is read
/// leniently. A file that can't be read looks as if it had ended. A byte order mark is text like
/// any other. Only one thread at a time may use a buffer.
class utf8streambuf : public std::stringbuf {
public:
    /// Reads nothing yet.
    utf8streambuf(FILE* file, uint32_t codePage, bool lenient);
    ~utf8streambuf() override;
    utf8streambuf(const utf8streambuf&) = delete;
    utf8streambuf& operator=(const utf8streambuf&) = delete;

protected:
    /// Reads the next block.
    int_type underflow() override;

private:
    FILE* mFile;
    uint32_t mCodePage;
    uint32_t mFlags;
};

/// A stream with such a buffer:
///
///     utf8istream output(file, GetOEMCP(), /*lenient=*/true);
///     while (std::getline(output, line)) { ... }
///
/// As with every stream, bytes that can't be converted set `badbit`; after
/// `exceptions(std::ios::badbit)`, the Win32Exception is thrown instead.
class utf8istream : public std::istream {
public:
    /// The arguments are those of the buffer.
    utf8istream(FILE* file, uint32_t codePage, bool lenient);
    /// Deletes the buffer, which closes the file.
    ~utf8istream() override;
};
