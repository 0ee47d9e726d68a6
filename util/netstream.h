#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

// Numbers and byte strings on binary streams, in network byte order (big-endian).
//
// Errors are reported in the stream's state, which the caller checks. A read that runs short sets
// eofbit and failbit; the number or text that it returned must not be used then.

/// Reads 4 bytes.
[[nodiscard]] uint32_t readNet32(std::istream& stream);
/// Reads 8 bytes, the high word first.
[[nodiscard]] uint64_t readNet64(std::istream& stream);
/// Writes 4 bytes.
void writeNet32(std::ostream& stream, uint32_t value);
/// Writes 8 bytes, the high word first.
void writeNet64(std::ostream& stream, uint64_t value);

/// Writes `length` as 32 bits and then that many bytes of `data`. `data` may be null if `length`
/// is 0. A negative length sets failbit and writes nothing.
void writeBlob32(std::ostream& stream, const char* data, int length);
/// The same with a length of 64 bits.
void writeBlob64(std::ostream& stream, const char* data, int64_t length);

/// Reads a length of 32 bits and then that many bytes into `text`, replacing its contents: the
/// format of `writeBlob32`. If the length can't be read, `text` is unchanged; if the bytes run
/// short, `text` has the announced length. The length is trusted: up to 4 GB are allocated before
/// the first byte arrives (std::bad_alloc may be thrown), so don't use this function for untrusted
/// streams.
void readString(std::istream& stream, std::string& text);
