// Examples of docs/utility.md: command lines as text.

#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/stringscan.h"

namespace {

using CommandTextExampleTest = testing_support::UtilityExampleTest;

TEST_F(CommandTextExampleTest, QuoteTheWordsOfACommand) {
    const char* const words[] = {"tool.exe", "a file", ">", "out.txt", nullptr};
    std::string line;
    appendQuotedWords(words, line);
    std::cout << line << '\n' << nextArgument(line.c_str()) << '\n';
}

}  // namespace
