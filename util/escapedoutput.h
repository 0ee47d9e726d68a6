#pragma once

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <string>

#include "util/textspan.h"

// Stream inserters that print any bytes: as escapes in ASCII, quoted for a POSIX shell, and as
// dumps and literals that are wrapped at a width. Error messages print paths and command lines
// by them.
//
//     out << "can't open " << EscapedUtf8{path};
//     Layout layout(/*width=*/72, /*indent=*/4);
//     out << Quoted{data, length, &layout} << HexDump{data, length, &layout};
//
// Hexadecimal digits are lower case. An inserter refers to its text and layout, which must outlive
// it. On a stream that has failed already it writes nothing. Where the stream takes no more, the
// wrapped ones and `Spaces` stop and set eofbit, failbit and badbit; the others go on to the end of
// the text and set failbit and badbit. What a stream buffer throws passes through. One thread at a
// time for each stream and layout.

// Escapes

/// Bytes: one with the high bit set as `\x` and two digits, all others as they are, control
/// characters included.
struct EscapedBytes {
    StringSpan text;
};
/// UTF-16 units: one above 126 as `\u` and four digits, all others as they are.
struct EscapedUnits {
    std::u16string_view text;
};
/// The same of a wide string, whose units are UTF-16.
struct EscapedWide {
    WideSpan text;
};
/// UTF-8: a character above 0xFFFF as `\U` and eight digits, another above 126 as `\u` and four,
/// all others as they are. A byte that isn't valid UTF-8 is `\udc80` to `\udcff`.
struct EscapedUtf8 {
    StringSpan text;
};
std::ostream& operator<<(std::ostream& out, const EscapedBytes& escaped);
std::ostream& operator<<(std::ostream& out, const EscapedUnits& escaped);
std::ostream& operator<<(std::ostream& out, const EscapedWide& escaped);
std::ostream& operator<<(std::ostream& out, const EscapedUtf8& escaped);

/// The same as text.
std::string escapeBytes(StringSpan text);
std::string escapeUnits(std::u16string_view text);
std::string escapeUnits(const std::wstring& text);
std::string escapeUtf8(StringSpan text);

// Words for a POSIX shell

/// Whether a shell takes the character as it stands: a letter or digit by the C runtime, or one of
/// % + , - . / : = @ ^ _
bool isShellSafe(char c);
bool needsShellQuoting(StringSpan text);

/// Writes a text so that a shell reads it back: in single quotes, if it needs any. An empty text is
/// nothing. `out` is an output iterator of characters; the result is the one behind them.
template <class Out>
Out writeShellQuoted(StringSpan text, Out out) {
    const std::string_view characters = text.view();
    if (!needsShellQuoting(text)) {
        return std::copy(characters.begin(), characters.end(), out);
    }
    constexpr std::string_view escapedQuote = "'\\''";
    *out++ = '\'';
    for (const char c : characters) {
        if (c == '\'') {
            out = std::copy(escapedQuote.begin(), escapedQuote.end(), out);
        } else {
            *out++ = c;
        }
    }
    *out++ = '\'';
    return out;
}
/// The same for a word that must be there: an empty one is two single quotes.
template <class Out>
Out writeShellArgument(StringSpan text, Out out) {
    if (text.length != 0) {
        return writeShellQuoted(text, out);
    }
    *out++ = '\'';
    *out++ = '\'';
    return out;
}

/// writeShellQuoted and writeShellArgument as inserters.
struct ShellQuoted {
    StringSpan text;
};
struct ShellArgument {
    StringSpan text;
};
std::ostream& operator<<(std::ostream& out, const ShellQuoted& quoted);
std::ostream& operator<<(std::ostream& out, const ShellArgument& quoted);

// Wrapped output

/// Where wrapped output stands. The caller keeps it from one inserter to the next, so that they
/// fill the same lines. Columns count from 0.
struct Layout {
    static constexpr int noWrapping = 0x7fffffff;

    int width;       ///< how many columns can be used
    int indent;      ///< the left margin
    int column;      ///< the present column
    bool needSpace;  ///< a space comes before the next item

    explicit Layout(int lastColumn = noWrapping, int leftMargin = 0, int startColumn = 0,
                    bool owesSpace = false)
        : width(lastColumn), indent(leftMargin), column(startColumn), needSpace(owesSpace) {}
};

/// A copy of the caller's layout, or the default one for null, that an inserter works on. Goes back
/// to the caller when the scope ends, however it ends.
class LayoutGuard {
public:
    explicit LayoutGuard(Layout* target)
        : layout(target != nullptr ? *target : Layout()), mTarget(target) {}
    ~LayoutGuard() {
        if (mTarget != nullptr) {
            *mTarget = layout;
        }
    }
    LayoutGuard(const LayoutGuard&) = delete;
    LayoutGuard& operator=(const LayoutGuard&) = delete;

    Layout layout;

private:
    Layout* mTarget;
};

/// So many spaces; none for a count below 1.
struct Spaces {
    int count;
};
std::ostream& operator<<(std::ostream& out, const Spaces& spaces);

/// Bytes as "48:H 69:i": two digits and the character, a full stop for one that isn't printable
/// ASCII. Without a layout (null) on one line.
struct HexDump {
    const unsigned char* data;
    size_t length;
    Layout* layout;
};
std::ostream& operator<<(std::ostream& out, const HexDump& dump);

/// Bytes as a quoted literal with backslash escapes: `\t`, `\n`, `\r`, `\\`, and `\x` with two
/// digits for what else isn't printable by the C runtime. A double quote is written bare. At the
/// width, and behind each line feed, it breaks into another literal on the next line. Without a
/// layout (null) the width doesn't count.
struct Quoted {
    const unsigned char* data;
    size_t length;
    Layout* layout;
};
std::ostream& operator<<(std::ostream& out, const Quoted& quoted);
