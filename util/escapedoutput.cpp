#include "util/escapedoutput.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <type_traits>

#include <boost/iterator/function_output_iterator.hpp>

#include "util/characterset.h"
#include "util/utf8decoder.h"

namespace {

constexpr std::string_view digits = "0123456789abcdefghijklmnopqrstuvwxyz";

/// Appends characters to a string.
class StringSink {
public:
    explicit StringSink(std::string& target) : mTarget(target) {}
    void put(std::string_view text) { mTarget.append(text); }

private:
    std::string& mTarget;
};

/// Writes characters to a stream, and remembers whether one was lost.
class StreamSink {
public:
    explicit StreamSink(std::ostream& out) : mBuffer(*out.rdbuf()) {}
    /// Continues after a character that the stream refuses.
    void put(std::string_view text) {
        for (;;) {
            const auto taken = static_cast<size_t>(
                mBuffer.sputn(text.data(), static_cast<std::streamsize>(text.size())));
            if (taken == text.size()) {
                return;
            }
            mHasFailed = true;
            text.remove_prefix(taken + 1);
        }
    }
    bool hasFailed() const { return mHasFailed; }

private:
    std::streambuf& mBuffer;
    bool mHasFailed = false;
};

/// Writes a character; the function of an output iterator.
struct PutCharacter {
    StreamSink* sink;
    void operator()(char c) const { sink->put({&c, 1}); }
};

auto iteratorInto(StreamSink& sink) {
    return boost::make_function_output_iterator(PutCharacter{&sink});
}

template <class Sink>
void putEscape(Sink& sink, char letter, uint32_t value, size_t digitCount) {
    char text[10] = {'\\', letter};
    for (size_t i = digitCount; i > 0; --i) {
        text[1 + i] = digits[value % 16];
        value /= 16;
    }
    sink.put({text, 2 + digitCount});
}

/// Returns how many characters from the start of `text` are at most `highest`, which is 126 or 127.
/// Passes these, and maybe some that follow them, to `take(index, value)`.
template <class Unit, class Take>
size_t plainRun(std::basic_string_view<Unit> text, unsigned highest, Take take) {
    using Value = std::make_unsigned_t<Unit>;
    // Works block by block without a branch for each character, so that compilers can handle many
    // characters at once.
    constexpr size_t block = 64;
    size_t length = 0;
    for (; text.size() - length >= block; length += block) {
        Value largest = 0;
        for (size_t i = length; i < length + block; ++i) {
            const auto value = static_cast<Value>(text[i]);
            largest = std::max(largest, value);
            take(i, value);
        }
        if (largest > highest) {
            break;
        }
    }
    for (; length < text.size() && static_cast<Value>(text[length]) <= highest; ++length) {
        take(length, static_cast<Value>(text[length]));
    }
    return length;
}

size_t plainRun(std::string_view text, unsigned highest) {
    return plainRun(text, highest, [](size_t, unsigned char) {});
}

/// The most that is written at once. It is small enough to be in the processor's cache when it is
/// written.
constexpr size_t pieceSize = 4096;

template <class Sink>
void putBytes(std::string_view text, Sink& sink) {
    while (!text.empty()) {
        const size_t plain = plainRun(text.substr(0, pieceSize), 127);
        if (plain != 0) {
            sink.put(text.substr(0, plain));
        } else {
            putEscape(sink, 'x', static_cast<unsigned char>(text.front()), 2);
        }
        text.remove_prefix(std::max<size_t>(plain, 1));
    }
}

template <class Unit, class Sink>
void putUnits(std::basic_string_view<Unit> text, Sink& sink) {
    std::array<char, pieceSize> piece;
    while (!text.empty()) {
        const size_t plain =
            plainRun(text.substr(0, pieceSize), 126,
                     [&piece](size_t i, auto unit) { piece[i] = static_cast<char>(unit); });
        if (plain != 0) {
            sink.put({piece.data(), plain});
        } else {
            putEscape(sink, 'u', static_cast<uint16_t>(text.front()), 4);
        }
        text.remove_prefix(std::max<size_t>(plain, 1));
    }
}

template <class Sink>
void putUtf8(std::string_view text, Sink& sink) {
    while (!text.empty()) {
        const size_t plain = plainRun(text.substr(0, pieceSize), 126);
        if (plain != 0) {
            sink.put(text.substr(0, plain));
            text.remove_prefix(plain);
            continue;
        }
        const PathUnitCursor cursor{StringSpan(text)};
        putEscape(sink, cursor.value > 0xFFFF ? 'U' : 'u', cursor.value,
                  cursor.value > 0xFFFF ? 8 : 4);
        text.remove_prefix(static_cast<size_t>(cursor.position - text.data()) + 1);
    }
}

/// Runs `put(sink)` under the stream's sentry.
template <class Put>
std::ostream& insertAll(std::ostream& out, Put put) {
    if (const std::ostream::sentry sentry(out); sentry) {
        StreamSink sink(out);
        put(sink);
        if (sink.hasFailed()) {
            out.setstate(std::ios_base::failbit | std::ios_base::badbit);
        }
    }
    return out;
}

template <class Put>
std::string textOf(Put put) {
    std::string text;
    StringSink sink(text);
    put(sink);
    return text;
}

constexpr CharacterSet safePunctuation("%+,-./:=@^_");

/// Writes into a layout, and stops at the first character that the stream refuses.
class WrappedOutput {
public:
    WrappedOutput(std::ostream& out, Layout* layout)
        : mBuffer(*out.rdbuf()), mGuard(layout), mLayout(mGuard.layout) {}

    bool putDump(const HexDump& dump);
    bool putQuoted(const Quoted& quoted);
    bool putSpaces(int count) {
        constexpr std::string_view spaces = "                                ";
        while (count > 0) {
            const int piece = std::min(count, static_cast<int>(spaces.size()));
            if (!put(spaces.substr(0, static_cast<size_t>(piece)))) {
                return false;
            }
            count -= piece;
        }
        return true;
    }

private:
    // All of these return false if the stream refuses more. The column counts what it accepted.

    /// Each character counts as one column.
    bool put(std::string_view text) {
        const auto size = static_cast<std::streamsize>(text.size());
        const std::streamsize taken = mBuffer.sputn(text.data(), size);
        mLayout.column += static_cast<int>(taken);
        return taken == size;
    }
    bool lineFeed() {
        if (mBuffer.sputn("\n", 1) != 1) {
            return false;
        }
        mLayout.column = 0;
        return true;
    }

    bool beginItem(int columns);
    bool putPlain(std::string_view text);
    bool putCharacter(std::string_view text);

    std::streambuf& mBuffer;
    LayoutGuard mGuard;
    Layout& mLayout;
    bool mIsAfterLineFeed = false;  ///< in the text that is quoted
};

/// Starts a new line if the item's first columns don't fit into this one. Then fills the line up to
/// the margin; past the margin, writes the space that is owed, if any.
bool WrappedOutput::beginItem(int columns) {
    if (mLayout.width - mLayout.column < (mLayout.needSpace ? 1 : 0) + columns) {
        if (!lineFeed()) {
            return false;
        }
        mLayout.needSpace = false;
    }
    if (mLayout.column < mLayout.indent) {
        if (!putSpaces(mLayout.indent - mLayout.column)) {
            return false;
        }
        mLayout.needSpace = false;
        return true;
    }
    return !mLayout.needSpace || put(" ");
}

bool WrappedOutput::putDump(const HexDump& dump) {
    for (size_t i = 0; i < dump.length; ++i) {
        const unsigned char byte = dump.data[i];
        const bool isPrintable = byte < 128 && std::isprint(byte) != 0;
        const char item[] = {digits[byte / 16U], digits[byte % 16U], ':',
                             isPrintable ? static_cast<char>(byte) : '.'};
        if (!beginItem(sizeof item) || !put({item, sizeof item})) {
            return false;
        }
        mLayout.needSpace = true;
    }
    return true;
}

/// Returns the escape of a byte that isn't written as itself. Stores a hexadecimal one in `room`.
std::string_view escapeOf(unsigned char byte, std::array<char, 4>& room) {
    switch (byte) {
        case '\t':
            return "\\t";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\\':
            return "\\\\";
        default:
            room = {'\\', 'x', digits[byte / 16U], digits[byte % 16U]};
            return {room.data(), room.size()};
    }
}

bool isWrittenAsItself(unsigned char byte) { return std::isprint(byte) != 0 && byte != '\\'; }

/// Writes a character or an escape. Starts a new line first if the literal has to break there.
bool WrappedOutput::putCharacter(std::string_view text) {
    const int columns = static_cast<int>(text.size());
    if (mIsAfterLineFeed || mLayout.width - mLayout.column < columns + 1) {
        if (!put("\"") || !lineFeed() || !putSpaces(mLayout.indent) || !put("\"")) {
            return false;
        }
        // Compatibility: a negative margin is counted as it is, so lines with one are longer than
        // the width by that amount.
        mLayout.column = mLayout.indent + 1;
    }
    return put(text);
}

bool WrappedOutput::putQuoted(const Quoted& quoted) {
    // Compatibility: a double quote in the text isn't escaped, so the output can't be read back
    // exactly.
    if (!beginItem((quoted.length != 0 ? 1 : 0) + 2) || !put("\"")) {
        return false;
    }
    std::array<char, 4> room{};
    for (size_t i = 0; i < quoted.length; ++i) {
        const unsigned char byte = quoted.data[i];
        const char plain = static_cast<char>(byte);
        if (!putCharacter(isWrittenAsItself(byte) ? std::string_view(&plain, 1)
                                                  : escapeOf(byte, room))) {
            return false;
        }
        mIsAfterLineFeed = byte == '\n';
    }
    if (!put("\"")) {
        return false;
    }
    mLayout.needSpace = true;
    return true;
}

/// Runs `put(output)` under the stream's sentry.
template <class Put>
std::ostream& insertWrapped(std::ostream& out, Layout* layout, Put put) {
    if (const std::ostream::sentry sentry(out); sentry) {
        if (!put(WrappedOutput(out, layout))) {
            out.setstate(std::ios_base::eofbit | std::ios_base::failbit | std::ios_base::badbit);
        }
    }
    return out;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const EscapedBytes& escaped) {
    return insertAll(out, [&](StreamSink& sink) { putBytes(escaped.text.view(), sink); });
}
std::ostream& operator<<(std::ostream& out, const EscapedUnits& escaped) {
    return insertAll(out, [&](StreamSink& sink) { putUnits(escaped.text, sink); });
}
std::ostream& operator<<(std::ostream& out, const EscapedWide& escaped) {
    const std::wstring_view units(escaped.text.data, escaped.text.length);
    return insertAll(out, [&](StreamSink& sink) { putUnits(units, sink); });
}
std::ostream& operator<<(std::ostream& out, const EscapedUtf8& escaped) {
    return insertAll(out, [&](StreamSink& sink) { putUtf8(escaped.text.view(), sink); });
}

std::string escapeBytes(StringSpan text) {
    return textOf([&](StringSink& sink) { putBytes(text.view(), sink); });
}
std::string escapeUnits(std::u16string_view text) {
    return textOf([&](StringSink& sink) { putUnits(text, sink); });
}
std::string escapeUnits(const std::wstring& text) {
    return textOf([&](StringSink& sink) { putUnits(std::wstring_view(text), sink); });
}
std::string escapeUtf8(StringSpan text) {
    return textOf([&](StringSink& sink) { putUtf8(text.view(), sink); });
}

bool isShellSafe(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || safePunctuation.contains(c);
}

bool needsShellQuoting(StringSpan text) {
    const std::string_view characters = text.view();
    return !std::all_of(characters.begin(), characters.end(), isShellSafe);
}

std::ostream& operator<<(std::ostream& out, const ShellQuoted& quoted) {
    return insertAll(out,
                     [&](StreamSink& sink) { writeShellQuoted(quoted.text, iteratorInto(sink)); });
}
std::ostream& operator<<(std::ostream& out, const ShellArgument& quoted) {
    return insertAll(
        out, [&](StreamSink& sink) { writeShellArgument(quoted.text, iteratorInto(sink)); });
}

std::ostream& operator<<(std::ostream& out, const Spaces& spaces) {
    return insertWrapped(out, nullptr,
                         [&](WrappedOutput&& output) { return output.putSpaces(spaces.count); });
}
std::ostream& operator<<(std::ostream& out, const HexDump& dump) {
    return insertWrapped(out, dump.layout,
                         [&](WrappedOutput&& output) { return output.putDump(dump); });
}
std::ostream& operator<<(std::ostream& out, const Quoted& quoted) {
    return insertWrapped(out, quoted.layout,
                         [&](WrappedOutput&& output) { return output.putQuoted(quoted); });
}
