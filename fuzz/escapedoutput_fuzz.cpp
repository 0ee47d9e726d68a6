// Escaped and wrapped output. Input: a line of numbers, a line with the kind of each item (`x` for
// a dump, otherwise a literal), and the text, which is divided among the items. The numbers are the
// layout's width, indent, column and, if it isn't 0, an owed space, and the character that a stream
// refuses. If this number is negative, the stream refuses everything after it, too.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <streambuf>
#include <vector>

#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/replace.hpp>

#include "fuzz/fuzzinput.h"
#include "fuzz/utf8model.h"
#include "util/assertion.h"
#include "util/escapedoutput.h"

namespace {

constexpr size_t longest = 256;
constexpr size_t mostItems = 8;
constexpr size_t none = std::string::npos;

/// The character that a stream refuses, counted from 0. If `forGood`, it refuses all after it, too.
struct Refusal {
    size_t number = none;
    bool forGood = false;

    Refusal within(const std::string& whole) const {
        return {number % (whole.size() + 1), forGood};
    }
};

class Taker : public std::streambuf {
public:
    explicit Taker(const Refusal& refusal = {}) : mRefusal(refusal) {}

    std::string text;
    size_t offered = 0;

protected:
    std::streamsize xsputn(const char* characters, std::streamsize count) override {
        const auto wanted = static_cast<size_t>(count);
        const size_t open = offered <= mRefusal.number ? mRefusal.number - offered
                            : mRefusal.forGood         ? 0
                                                       : none;
        const size_t taken = std::min(wanted, open);
        text.append(characters, taken);
        offered += taken < wanted ? taken + 1 : taken;
        return static_cast<std::streamsize>(taken);
    }
    int_type overflow(int_type c) override {
        const char character = traits_type::to_char_type(c);
        return xsputn(&character, 1) == 1 ? c : traits_type::eof();
    }

private:
    Refusal mRefusal;
};

/// Returns the column after a text that was written from a column on.
int columnAfter(int column, const std::string& written) {
    const size_t lineFeed = written.rfind('\n');
    return lineFeed == none ? column + static_cast<int>(written.size())
                            : static_cast<int>(written.size() - lineFeed - 1);
}

std::string hexadecimal(const char* pattern, unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

bool isPrintable(unsigned char byte) { return byte >= ' ' && byte <= '~'; }

std::string escapeOf(char c) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
        case '\t':
            return "\\t";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\\':
            return "\\\\";
        default:
            return isPrintable(byte) ? std::string(1, c) : hexadecimal("\\x%02x", byte);
    }
}

/// What items write from a layout on. The column isn't stored: it follows from the text.
class Printer {
public:
    explicit Printer(const Layout& layout) : mLayout(layout) {}

    std::string text;

    int column() const { return columnAfter(mLayout.column, text); }
    bool needSpace() const { return mLayout.needSpace; }

    void dump(const std::string& bytes) {
        for (const char c : bytes) {
            const auto byte = static_cast<unsigned char>(c);
            begin(4);
            text += hexadecimal("%02x:", byte) + (isPrintable(byte) ? c : '.');
            mLayout.needSpace = true;
        }
    }
    void quote(const std::string& bytes) {
        begin(bytes.empty() ? 2 : 3);
        text += '"';
        for (size_t i = 0; i < bytes.size(); ++i) {
            const std::string escape = escapeOf(bytes[i]);
            const bool isAfterLineFeed = i != 0 && bytes[i - 1] == '\n';
            if (isAfterLineFeed || room() < static_cast<int>(escape.size()) + 1) {
                text += "\"\n" + std::string(margin(), ' ') + '"';
            }
            text += escape;
        }
        text += '"';
        mLayout.needSpace = true;
    }

private:
    int room() const { return mLayout.width - column(); }
    size_t margin() const { return static_cast<size_t>(mLayout.indent); }

    void begin(int columns) {
        if (room() < columns + (mLayout.needSpace ? 1 : 0)) {
            text += '\n';
            mLayout.needSpace = false;
        }
        if (column() < mLayout.indent) {
            text.append(margin() - static_cast<size_t>(column()), ' ');
        } else if (mLayout.needSpace) {
            text += ' ';
        }
        mLayout.needSpace = false;
    }

    Layout mLayout;
};

// Reads back what was written.

int digitValue(char c) {
    NB_ASSERT((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'));
    return c <= '9' ? c - '0' : c - 'a' + 10;
}

char byteOf(const std::string& text, size_t place) {
    NB_ASSERT(place + 2 <= text.size());
    return static_cast<char>(digitValue(text[place]) * 16 + digitValue(text[place + 1]));
}

std::string unescaped(const std::string& text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        NB_ASSERT(i + 1 < text.size());
        const char kind = text[++i];
        if (kind == 'x') {
            bytes += byteOf(text, i + 1);
            i += 2;
        } else {
            const size_t known = std::string("tnr\\").find(kind);
            NB_ASSERT(known != none);
            bytes += "\t\n\r\\"[known];
        }
    }
    return bytes;
}

std::string unquoted(const std::string& written, int indent) {
    const size_t start = written.find_first_not_of("\n ");
    NB_ASSERT(start != none && written.size() - start >= 2);
    NB_ASSERT(written[start] == '"' && written.back() == '"');
    const std::string broken = "\"\n" + std::string(static_cast<size_t>(indent), ' ') + '"';
    const std::string inside = written.substr(start + 1, written.size() - start - 2);
    return unescaped(boost::erase_all_copy(inside, broken));
}

std::string undumped(const std::string& written) {
    std::string bytes;
    for (size_t i = written.find_first_not_of("\n "); i != none;
         i = written.find_first_not_of("\n ", i + 4)) {
        bytes += byteOf(written, i);
        NB_ASSERT(written.at(i + 2) == ':');
        NB_ASSERT(written.at(i + 3) ==
                  (isPrintable(static_cast<unsigned char>(bytes.back())) ? bytes.back() : '.'));
    }
    return bytes;
}

struct Item {
    bool isDump;
    std::string text;
};

void print(std::ostream& out, const Item& item, Layout* layout) {
    const ExactText exact(item.text);
    const auto* const data = reinterpret_cast<const unsigned char*>(exact.span().data);
    if (item.isDump) {
        out << HexDump{data, item.text.size(), layout};
    } else {
        out << Quoted{data, item.text.size(), layout};
    }
}

constexpr auto isFailed = std::ios_base::failbit | std::ios_base::badbit;

void checkItem(std::ostream& out, const Taker& taker, const Item& item, Layout& layout) {
    const Layout before = layout;
    const size_t start = taker.text.size();
    print(out, item, &layout);
    const std::string written = taker.text.substr(start);

    Printer printer(before);
    item.isDump ? printer.dump(item.text) : printer.quote(item.text);
    NB_ASSERT(written == printer.text);
    NB_ASSERT(layout.column == columnAfter(before.column, written));
    NB_ASSERT(layout.needSpace == printer.needSpace());
    NB_ASSERT(layout.width == before.width && layout.indent == before.indent);
    NB_ASSERT((item.isDump ? undumped(written) : unquoted(written, layout.indent)) == item.text);
    NB_ASSERT(out.good());
}

void checkWrapped(const std::vector<Item>& items, const Layout& start, const Refusal& refusal) {
    Taker taker;
    std::ostream out(&taker);
    Layout layout = start;
    for (const Item& item : items) {
        checkItem(out, taker, item, layout);
    }
    // A stream that refuses a character is offered none after it, even if it would accept more.
    const std::string& whole = taker.text;
    const Refusal inside = refusal.within(whole);
    const bool isRefused = inside.number < whole.size();
    Taker refusing(inside);
    std::ostream failing(&refusing);
    layout = start;
    for (const Item& item : items) {
        print(failing, item, &layout);
    }
    NB_ASSERT(refusing.text == whole.substr(0, inside.number));
    NB_ASSERT(refusing.offered == std::min(inside.number + 1, whole.size()));
    NB_ASSERT(failing.rdstate() ==
              (isRefused ? isFailed | std::ios_base::eofbit : std::ios_base::goodbit));
    NB_ASSERT(layout.column == columnAfter(start.column, refusing.text));
    for (const Item& item : items) {
        Taker single;
        std::ostream unwrapped(&single);
        print(unwrapped, item, nullptr);
        Printer printer{Layout()};
        item.isDump ? printer.dump(item.text) : printer.quote(item.text);
        NB_ASSERT(single.text == printer.text);
    }
}

void checkSpaces(int count) {
    const std::string whole(static_cast<size_t>(std::max(count, 0)), ' ');
    for (const size_t number : {none, whole.size() / 2}) {
        Taker taker(Refusal{number});
        std::ostream out(&taker);
        out << Spaces{count};
        NB_ASSERT(taker.text == whole.substr(0, number));
        NB_ASSERT(out.good() == (number >= whole.size()));
    }
}

/// Checks what an inserter writes. One that isn't wrapped offers all of it, even after a refusal.
template <class Inserted>
void checkInserter(const Inserted& inserted, const std::string& whole, const Refusal& refusal) {
    Taker taker;
    std::ostream out(&taker);
    out << inserted;
    NB_ASSERT(out.good() && taker.text == whole);

    const Refusal inside = refusal.within(whole);
    const bool isRefused = inside.number < whole.size();
    Taker refusing(inside);
    std::ostream failing(&refusing);
    failing << inserted;
    std::string taken = whole;
    taken.erase(inside.number, inside.forGood ? none : 1);
    NB_ASSERT(refusing.text == taken && refusing.offered == whole.size());
    NB_ASSERT(failing.rdstate() == (isRefused ? isFailed : std::ios_base::goodbit));
}

void checkEscapes(const std::string& text, const Refusal& refusal) {
    const ExactText exact(text);
    std::string bytes;
    std::string utf8;
    std::string units;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        bytes += byte < 128 ? std::string(1, c) : hexadecimal("\\x%02x", byte);
    }
    forPieces(text, [&](const Utf8Piece& piece) {
        utf8 += piece.value <= 126      ? std::string(1, static_cast<char>(piece.value))
                : piece.value <= 0xFFFF ? hexadecimal("\\u%04x", piece.value)
                                        : hexadecimal("\\U%08x", piece.value);
    });
    const std::u16string narrow = unitsOf(text);
    const std::wstring wide(narrow.begin(), narrow.end());
    for (const char16_t unit : narrow) {
        units +=
            unit <= 126 ? std::string(1, static_cast<char>(unit)) : hexadecimal("\\u%04x", unit);
    }
    NB_ASSERT(escapeBytes(exact.span()) == bytes);
    NB_ASSERT(escapeUtf8(exact.span()) == utf8);
    NB_ASSERT(escapeUnits(narrow) == units && escapeUnits(wide) == units);
    checkInserter(EscapedBytes{exact.span()}, bytes, refusal);
    checkInserter(EscapedUtf8{exact.span()}, utf8, refusal);
    checkInserter(EscapedUnits{narrow}, units, refusal);
    checkInserter(EscapedWide{wide}, units, refusal);
    if (text.find('\\') == none) {
        NB_ASSERT(unescaped(bytes) == text);
    }
}

bool isSafe(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           std::string("%+,-./:=@^_").find(c) != none;
}

/// Returns the one word that a shell reads.
std::string shellWord(const std::string& written) {
    std::string word;
    bool isQuoted = false;
    for (size_t i = 0; i < written.size(); ++i) {
        if (written[i] == '\'') {
            isQuoted = !isQuoted;
        } else if (written[i] == '\\' && !isQuoted) {
            word += written.at(++i);
        } else {
            NB_ASSERT(isQuoted || isSafe(written[i]));
            word += written[i];
        }
    }
    NB_ASSERT(!isQuoted);
    return word;
}

void checkShellWords(const std::string& text, const Refusal& refusal) {
    const ExactText exact(text);
    const bool needsQuotes = !std::all_of(text.begin(), text.end(), isSafe);
    NB_ASSERT(needsShellQuoting(exact.span()) == needsQuotes);
    const std::string quoted =
        needsQuotes ? "'" + boost::replace_all_copy(text, "'", "'\\''") + "'" : text;
    NB_ASSERT(shellWord(quoted) == text);
    checkInserter(ShellQuoted{exact.span()}, quoted, refusal);
    checkInserter(ShellArgument{exact.span()}, text.empty() ? "''" : quoted, refusal);
}

std::vector<Item> itemsOf(const std::string& kinds, const std::string& text) {
    std::vector<Item> items;
    const size_t count = std::min(kinds.size(), mostItems);
    for (size_t i = 0; i < count; ++i) {
        const size_t start = text.size() * i / count;
        const size_t end = text.size() * (i + 1) / count;
        items.push_back({kinds[i] == 'x', text.substr(start, end - start)});
    }
    return items;
}

int takeNumber(const char*& place, int lowest, int highest) {
    char* end = nullptr;
    const long value = std::strtol(place, &end, 10);
    place = end;
    return static_cast<int>(std::clamp<long>(value, lowest, highest));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string numbers = takeLine(rest);
    const char* place = numbers.c_str();
    Layout layout;
    // The largest number means a width that no item reaches.
    const int width = takeNumber(place, -8, 100);
    layout.width = width < 100 ? width : Layout::noWrapping;
    layout.indent = takeNumber(place, 0, 30);
    layout.column = takeNumber(place, 0, 120);
    layout.needSpace = takeNumber(place, 0, 1) != 0;
    const int refused = takeNumber(place, -2000, 2000);
    const Refusal refusal = {static_cast<size_t>(std::abs(refused)), refused < 0};
    const std::string kinds = takeLine(rest);
    const std::string text(rest.substr(0, longest));

    checkWrapped(itemsOf(kinds, text), layout, refusal);
    checkSpaces(width);
    checkEscapes(text, refusal);
    checkShellWords(text, refusal);
    return 0;
}
