#include "util/netstream.h"

#include <boost/endian/conversion.hpp>

namespace {

template <class Number>
Number readNumber(std::istream& stream) {
    Number value = 0;
    stream.read(reinterpret_cast<char*>(&value), sizeof value);
    return boost::endian::big_to_native(value);
}

template <class Number>
void writeNumber(std::ostream& stream, Number value) {
    const Number bytes = boost::endian::native_to_big(value);
    stream.write(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

}  // namespace

uint32_t readNet32(std::istream& stream) { return readNumber<uint32_t>(stream); }

uint64_t readNet64(std::istream& stream) { return readNumber<uint64_t>(stream); }

void writeNet32(std::ostream& stream, uint32_t value) { writeNumber(stream, value); }

void writeNet64(std::ostream& stream, uint64_t value) { writeNumber(stream, value); }

void writeBlob32(std::ostream& stream, const char* data, int length) {
    if (length < 0) {
        stream.setstate(std::ios::failbit);
        return;
    }
    writeNet32(stream, static_cast<uint32_t>(length));
    stream.write(data, length);
}

void writeBlob64(std::ostream& stream, const char* data, int64_t length) {
    if (length < 0) {
        stream.setstate(std::ios::failbit);
        return;
    }
    writeNet64(stream, static_cast<uint64_t>(length));
    stream.write(data, length);
}

void readString(std::istream& stream, std::string& text) {
    const uint32_t length = readNet32(stream);
    if (!stream.good()) {
        return;
    }
    if (length == 0) {
        text.clear();
        return;
    }
    text.resize(length);
    stream.read(text.data(), length);
}
