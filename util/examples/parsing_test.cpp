// Examples of docs/utility.md: text to take apart.

#include <cstddef>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/characterset.h"
#include "util/stringscan.h"
#include "util/substring.h"
#include "util/valueconversion.h"

namespace {

using ParsingExampleTest = testing_support::UtilityExampleTest;

TEST_F(ParsingExampleTest, ParseALineInPlace) {
    std::string line = "  Include  src/a.mk ";
    Substring rest(line);
    if (rest.eatWord("include")) {
        rest.trim();
        std::cout << '[' << rest.span().view() << "]\n";
    }
}

TEST_F(ParsingExampleTest, SplitAtSeparatorsThatCanBeEscaped) {
    std::string text = "a\\;b;c";
    std::vector<Substring> parts;
    splitEscaped(text, parts, ";");
    for (const Substring& part : parts) {
        std::cout << part.span().view() << '\n';
    }
    Substring first = parts.front();
    static_cast<void>(first.findAndUnescape(";", 0));
    std::cout << text << '\n';
}

TEST_F(ParsingExampleTest, SearchForOneOfASetOfCharacters) {
    constexpr CharacterSet blanks(" \t\r\n");
    const std::string_view text = "  name = value";
    const size_t begin = blanks.findNotIn(text, 0);
    const size_t end = blanks.findIn(text, begin);
    std::cout << text.substr(begin, end - begin) << '\n';
}

TEST_F(ParsingExampleTest, ReadNumbersAndBooleans) {
    int number = 0;
    bool isOn = false;
    std::cout << parseInt("42", &number) << ' ' << parseInt("12a", &number) << ' ' << number << '\n'
              << parseBool("Yes", &isOn) << ' ' << isOn << '\n'
              << doubleToString(3.14159265, 3) << '\n';
    std::string name;
    int port = 0;
    splitNameAndNumber("server:8080", name, &port);
    std::cout << name << ' ' << port << '\n';
}

}  // namespace
