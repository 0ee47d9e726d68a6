#pragma once

// Examples of a page that are tests: the code in the page is the body of a test, and what the page
// says that it prints is what it prints.

#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace testing_support {

/// An example as a page shows it: a block of the language cpp.
struct ShownExample {
    std::vector<std::string> includes;  ///< its first lines, as far as they are includes
    std::string code;                   ///< the rest, without the empty line between
    std::string output;  ///< the block of the language text that follows directly, or empty
};
/// Returns the examples of a page in Markdown.
[[nodiscard]] std::vector<ShownExample> examplesIn(std::string_view page);

/// A test with a fixture.
struct FixtureTest {
    std::string name;  ///< "Suite.Name"
    std::string code;  ///< what is between its braces, without the indentation of four
};
/// Returns the tests with a fixture in a source that clang-format has formatted, except those of a
/// single line.
[[nodiscard]] std::vector<FixtureTest> fixtureTestsIn(std::string_view source);

/// Returns whether a text is as a page shows it. The first "..." of a line in the page means any
/// text within that line.
[[nodiscard]] bool isAsShown(std::string_view text, std::string_view shown);

/// A test whose body is an example of docs/utility.md. Expects that it prints to std::cout what the
/// page shows.
class UtilityExampleTest : public testing::Test {
protected:
    UtilityExampleTest();
    ~UtilityExampleTest() override;
    void TearDown() override;

private:
    std::string mBody;
    std::string mPage;
    std::ostringstream mPrinted;
    std::ios::fmtflags mFlagsBefore;
    std::streambuf* mBufferBefore;
};

}  // namespace testing_support
