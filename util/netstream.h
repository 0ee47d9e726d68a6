#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

// Numbers and byte strings on binary streams, in network byte order (big-endian).
//
// Failures are the stream's state, which the caller tests: a read that runs short sets eofbit and
// failbit, and the number or text that it gave is then not to be used.

/// The next 4 bytes.
uint32_t readNet32(std::istream& stream);
/// The next 8 bytes, the high word first.
uint64_t readNet64(std::istream& stream);
void writeNet32(std::ostream& stream, uint32_t value);
void writeNet64(std::ostream& stream, uint64_t value);

/// Writes `length` as 32 bits and then that many bytes of `data`. `data` may be null if `length`
/// is 0. A negative length sets failbit and writes nothing.
void writeBlob32(std::ostream& stream, const char* data, int length);
/// The same with a length of 64 bits.
void writeBlob64(std::ostream& stream, const char* data, int64_t length);

/// Reads a length of 32 bits and then that many bytes, which become all of `text`: what
/// `writeBlob32` has written. If the length can't be read, `text` is left alone; if the bytes run
/// short, `text` has the announced length. The length is believed: up to 4 GB are claimed before
/// the first byte arrives (std::bad_alloc may pass), so this isn't for streams from strangers.
void readString(std::istream& stream, std::string& text);
