#pragma once

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

#include "util/textspan.h"

// Stream inserters that print arbitrary bytes: with ASCII escapes, quoted for a POSIX shell, or as
// dumps and literals that are wrapped at a width. Error messages use them to print paths and
// command lines.
//
//     out << "can't open " << EscapedUtf8{path};
//     Layout layout(/*width=*/72, /*indent=*/4);
//     out << Quoted{data, length, &layout} << HexDump{data, length, &layout};
//
// Hexadecimal digits are lower case. An inserter refers to its text and layout, which must outlive
// it. It writes nothing to a stream that has already failed. If the stream stops accepting
// characters, the wrapped inserters and `Spaces` stop and set eofbit, failbit and badbit; the
// others continue to the end of the text and set failbit and badbit. Exceptions of a stream buffer
// pass through. Use each stream and layout on one thread at a time.

// Escapes

/// Bytes: a byte with the high bit set becomes `\x` and two digits. All other bytes are unchanged,
/// including control characters.
struct EscapedBytes {
    StringSpan text;  ///< what is written
};
/// UTF-16 units: a unit above 126 becomes `\u` and four digits. All others are unchanged.
struct EscapedUnits {
    std::u16string_view text;  ///< what is written
};
/// The same for a wide string, whose units are UTF-16.
struct EscapedWide {
    WideSpan text;  ///< what is written
};
/// UTF-8: a character above 0xFFFF becomes `\U` and eight digits, any other above 126 `\u` and four
/// digits. All others are unchanged. A byte that isn't valid UTF-8 becomes `\udc80` to `\udcff`.
struct EscapedUtf8 {
    StringSpan text;  ///< what is written
};
/// @{
/// Writes the text with its escapes. The width of the stream has no effect.
std::ostream& operator<<(std::ostream& out, const EscapedBytes& escaped);
std::ostream& operator<<(std::ostream& out, const EscapedUnits& escaped);
std::ostream& operator<<(std::ostream& out, const EscapedWide& escaped);
std::ostream& operator<<(std::ostream& out, const EscapedUtf8& escaped);
/// @}

/// @{
/// Return what the inserters write.
[[nodiscard]] std::string escapeBytes(StringSpan text);
[[nodiscard]] std::string escapeUnits(std::u16string_view text);
[[nodiscard]] std::string escapeUnits(const std::wstring& text);
[[nodiscard]] std::string escapeUtf8(StringSpan text);
/// @}

// Words for a POSIX shell

/// Returns whether a shell takes the character literally: a letter or digit by the C runtime, or
/// one of % + , - . / : = @ ^ _
[[nodiscard]] bool isShellSafe(char c);
/// Returns whether a character of the text isn't safe for a shell. An empty text needs no quotes.
[[nodiscard]] bool needsShellQuoting(StringSpan text);

/// Writes a text so that a shell reads it back: in single quotes, if it needs any. For an empty
/// text it writes nothing. `out` is an output iterator of characters; the result is the iterator
/// after the last character.
///
///     a=b,c:d      a=b,c:d
///     two words    'two words'
///     it's         'it'\''s'
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
/// The same for a word that must not vanish: an empty text is written as two single quotes.
template <class Out>
Out writeShellArgument(StringSpan text, Out out) {
    if (text.length != 0) {
        return writeShellQuoted(text, out);
    }
    *out++ = '\'';
    *out++ = '\'';
    return out;
}

/// writeShellQuoted as an inserter.
struct ShellQuoted {
    StringSpan text;  ///< what is written
};
/// writeShellArgument as an inserter.
struct ShellArgument {
    StringSpan text;  ///< what is written
};
/// @{
/// Writes the word. The width of the stream has no effect.
std::ostream& operator<<(std::ostream& out, const ShellQuoted& quoted);
std::ostream& operator<<(std::ostream& out, const ShellArgument& quoted);
/// @}

// Wrapped output

/// The position of wrapped output. The caller passes the same layout to one inserter after the
/// other, so that they fill the same lines. An item that doesn't fit begins a new line, and a line
/// is filled with spaces up to the left margin before its first item. Columns count from 0.
struct Layout {
    /// The width of a layout without one.
    static constexpr int noWrapping = 0x7fffffff;

    int width;       ///< the number of usable columns
    int indent;      ///< the left margin
    int column;      ///< the current column
    bool needSpace;  ///< a space comes before the next item

    /// The arguments are the fields, in their order; by default there is no width.
    explicit Layout(int lastColumn = noWrapping, int leftMargin = 0, int startColumn = 0,
                    bool owesSpace = false)
        : width(lastColumn), indent(leftMargin), column(startColumn), needSpace(owesSpace) {}
};

/// An inserter's working copy of the caller's layout, or of the default layout if the caller's is
/// null. It is copied back to the caller when the scope ends, even by an exception.
class [[nodiscard]] LayoutGuard {
public:
    /// `target` is null or outlives this object.
    explicit LayoutGuard(Layout* target)
        : layout(target != nullptr ? *target : Layout()), mTarget(target) {}
    ~LayoutGuard() {
        if (mTarget != nullptr) {
            *mTarget = layout;
        }
    }
    LayoutGuard(const LayoutGuard&) = delete;
    LayoutGuard& operator=(const LayoutGuard&) = delete;

    Layout layout;  ///< the working copy, which the inserter changes

private:
    Layout* mTarget;
};

/// Writes `count` spaces, or nothing if `count` is below 1.
struct Spaces {
    int count;  ///< may be negative
};
/// Writes the spaces. The width of the stream has no effect.
std::ostream& operator<<(std::ostream& out, const Spaces& spaces);

/// Bytes as "48:H 69:i": two digits and the character, or a full stop if the character isn't
/// printable ASCII. If the layout is null, everything is on one line.
struct HexDump {
    const unsigned char* data;  ///< null only if there are no bytes
    size_t length;              ///< in bytes
    Layout* layout;             ///< the columns of the output, or null
};
/// Writes the bytes, and moves the layout on.
std::ostream& operator<<(std::ostream& out, const HexDump& dump);

/// Bytes as a quoted literal with backslash escapes: `\t`, `\n`, `\r`, `\\`, and `\x` with two
/// digits for any other byte that isn't printable by the C runtime. A double quote is written bare.
/// At the width, and after each line feed that isn't the last byte, the literal ends and another
/// one begins on the next line. If the layout is null, there is no width.
struct Quoted {
    const unsigned char* data;  ///< null only if there are no bytes
    size_t length;              ///< in bytes
    Layout* layout;             ///< the columns of the output, or null
};
/// Writes the literals, and moves the layout on.
std::ostream& operator<<(std::ostream& out, const Quoted& quoted);
