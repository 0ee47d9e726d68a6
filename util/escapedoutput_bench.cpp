#include <algorithm>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "testing/benchmark/samplepaths.h"
#include "util/escapedoutput.h"

namespace {

constexpr size_t textSize = 1U << 20U;

/// Accepts textSize characters, and can be rewound.
class FixedBuffer : public std::streambuf {
public:
    FixedBuffer() : mRoom(textSize) { rewind(); }
    void rewind() { setp(mRoom.data(), mRoom.data() + mRoom.size()); }
    size_t size() const { return static_cast<size_t>(pptr() - pbase()); }

private:
    std::vector<char> mRoom;
};

std::string asciiText() {
    std::string text;
    for (const std::string& path : benchmark::samplePaths(30'000, benchmark::Letters::ascii)) {
        text.append(path).append("\n");
    }
    text.resize(textSize);
    return text;
}

/// Both write textSize characters.
template <class Escaped, class Write>
void compareEscaping(const char* operation, const Escaped& escaped, const char* peer, Write write) {
    FixedBuffer buffer;
    std::ostream out(&buffer);
    out << escaped;
    EXPECT_EQ(buffer.size(), textSize);
    benchmark::compare(
        {operation, peer, 2.0},
        [&] {
            buffer.rewind();
            out << escaped;
        },
        [&] {
            buffer.rewind();
            write(out);
        });
    EXPECT_TRUE(out.good());
}

TEST(Benchmark, Escaping) {
    const std::string text = asciiText();
    const auto write = [&](std::ostream& out) { out.write(text.data(), textSize); };
    compareEscaping("EscapedBytes, 1 MB of ASCII", EscapedBytes{text}, "ostream::write", write);
    compareEscaping("EscapedUtf8, 1 MB of ASCII", EscapedUtf8{text}, "ostream::write", write);

    const std::u16string units(text.begin(), text.end());
    std::string narrow(textSize, '\0');
    compareEscaping("EscapedUnits, 1 MB of ASCII", EscapedUnits{units},
                    "transform to bytes, ostream::write", [&](std::ostream& out) {
                        std::transform(units.begin(), units.end(), narrow.begin(),
                                       [](char16_t unit) { return static_cast<char>(unit); });
                        out.write(narrow.data(), textSize);
                    });
}

}  // namespace
