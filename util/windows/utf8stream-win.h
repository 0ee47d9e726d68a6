#pragma once

// Text of any code page that Windows knows, read as UTF-8: what child processes and the console
// write.

#include <cstdint>
#include <cstdio>
#include <istream>
#include <sstream>

/// Reads a file in blocks of 4096 bytes and turns each into UTF-8.
///
/// Takes `file` over, which must not be null, and closes it. It must be open in binary mode, or
/// line ends and Ctrl+Z are changed before the bytes are text. `codePage` is one of
/// MultiByteToWideChar. Bytes that are no text of the code page become what the system puts in
/// their place if `lenient` is set; otherwise the read that meets them throws Win32Exception
/// "MultiByteToWideChar" with ERROR_NO_UNICODE_TRANSLATION (1113), and the next read goes on
/// behind that block. Two groups of code pages don't leave the choice: 54936 (GB 18030) and 65001
/// (UTF-8) are never lenient; 42, 50220, 50221, 50222, 50225, 50227, 50229, 57002 to 57011 and
/// 65000 always are.
///
/// A character over the end of a block is read whole where the code page isn't read leniently. A
/// file that can't be read looks like its end. A byte order mark is text like any other. One
/// thread at a time.
class utf8streambuf : public std::stringbuf {
public:
    utf8streambuf(FILE* file, uint32_t codePage, bool lenient);
    ~utf8streambuf() override;
    utf8streambuf(const utf8streambuf&) = delete;
    utf8streambuf& operator=(const utf8streambuf&) = delete;

protected:
    int_type underflow() override;

private:
    FILE* mFile;
    uint32_t mCodePage;
    uint32_t mFlags;
};

/// The stream over such a buffer:
///
///     utf8istream output(file, GetOEMCP(), /*lenient=*/true);
///     while (std::getline(output, line)) { ... }
///
/// As with every stream, bytes that can't be converted set `badbit`; after
/// `exceptions(std::ios::badbit)` the Win32Exception comes through instead.
class utf8istream : public std::istream {
public:
    utf8istream(FILE* file, uint32_t codePage, bool lenient);
    /// Deletes the buffer, which closes the file.
    ~utf8istream() override;
};
