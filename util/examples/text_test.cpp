// Examples of docs/utility.md: text, its bytes and its locale.

#include <cstdint>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/escapedoutput.h"
#include "util/hashtable.h"
#include "util/netstream.h"
#include "util/processlocale.h"
#include "util/stringpool.h"
#include "util/stringutilities.h"
#include "util/utf8check.h"
#include "util/utf8decoder.h"

namespace {

using TextExampleTest = testing_support::UtilityExampleTest;
using LocaleExampleTest = testing_support::UtilityExampleTest;

TEST_F(TextExampleTest, HandleBytesThatArentUtf8) {
    const std::string text = "caf\xe9 \u00fc";
    std::cout << isUtf8(text) << ' ' << escapeUtf8(text) << '\n' << std::hex;
    for (PathUnitCursor cursor(text); !cursor.atEnd(); cursor.next()) {
        std::cout << cursor.unit << ' ';
    }
    std::cout << '\n';
}

TEST_F(TextExampleTest, TrimAndEditText) {
    std::string text = "  One \t two\r\n";
    chomp(text);
    std::cout << '[' << text << "]\n";
    collapseWhitespace(text);
    toUpper(text);
    std::cout << '[' << text << "]\n";
    std::string path = "a\\b\\";
    replaceChar(path, '\\', '/');
    std::cout << path << '\n';
}

TEST_F(TextExampleTest, SplitAndJoinText) {
    std::vector<std::string> words;
    if (!splitQuoted("cc 'a file.c'  -o x", words, " ", "'", /*stripQuotes=*/true)) {
        throw std::runtime_error("a quote isn't closed");
    }
    for (const std::string& word : words) {
        std::cout << word << '\n';
    }
    const std::string list = "a,,b";
    std::vector<TextRange> ranges;
    splitRanges(list, ranges, ",", /*keepEmpty=*/true);
    std::cout << ranges.size() << ' ' << joinRanges(list, ranges, ";") << '\n';
}

TEST_F(TextExampleTest, CompareTextWithoutCase) {
    std::cout << equalsNoCase("Makefile", "MAKEFILE") << ' ' << equalsExact("a", "A") << '\n';
    std::vector<std::string> names = {"b", "a", "B", "A", "a"};
    sortUnique(names, /*caseSensitive=*/false);
    for (const std::string& name : names) {
        std::cout << name << ' ';
    }
    std::cout << '\n';
}

TEST_F(TextExampleTest, FormatText) {
    const std::string name = format(/*capacity=*/32, "%s-%03d", "part", 7);
    std::cout << name << '\n';
}

TEST_F(TextExampleTest, PrintBytesAndWrapLines) {
    const unsigned char bytes[] = {'o', 'n', 'e', '\t', 0xff, '\n', 't', 'w', 'o'};
    std::cout << EscapedUtf8{"caf\u00e9"} << '\n'
              << Quoted{bytes, sizeof bytes, /*layout=*/nullptr} << '\n';
    Layout layout(/*lastColumn=*/24, /*leftMargin=*/4);
    std::cout << HexDump{bytes, sizeof bytes, &layout} << '\n';
}

TEST_F(TextExampleTest, QuoteForAPosixShell) {
    std::cout << ShellArgument{"a=b,c:d"} << ' ' << ShellArgument{"two words"} << ' '
              << ShellArgument{"it's"} << ' ' << ShellArgument{""} << '\n';
}

TEST_F(TextExampleTest, StoreEachTextOnce) {
    const std::string name = "main.c";
    const char* const key = internString(name.c_str());
    std::cout << (key == internString("main.c")) << '\n';
    HashTable<int> lines;
    lines.add(HashedText(key), 120);
    if (const int* const count = lines.find(HashedText(name))) {
        std::cout << *count << '\n';
    }
}

TEST_F(TextExampleTest, WriteBinaryData) {
    std::stringstream stream;
    writeNet32(stream, 7);
    writeBlob32(stream, "hello", 5);
    const uint32_t number = readNet32(stream);
    std::string text;
    readString(stream, text);
    if (stream) {
        std::cout << number << ' ' << text << '\n';
    }
}

TEST_F(LocaleExampleTest, UseTheLocaleOfTheProcess) {
    std::cout << localeOrClassic("no such locale").name() << '\n';
    std::ostringstream report;
    report.imbue(processLocale());
}

}  // namespace
