// The examples about FakeScenario are tests: those of its header and of docs/testing-a-host.md are
// in the tests' sources, line by line. The test programs run in the root of the tree.

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "clearcase/fakeconfiguration.h"
#include "testing/page.h"

namespace {

using namespace testing_support;

/// Returns the text without blanks and line ends, so that it may be broken into lines differently.
std::string squeezed(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (std::string_view(" \r\n").find(c) == std::string_view::npos) {
            result += c;
        }
    }
    return result;
}

/// Returns the code in the page.
std::vector<std::string> codeIn(const std::string& page) {
    std::vector<std::string> found;
    for (const PagePart& part : partsOf(page)) {
        if (part.language == "cpp") {
            found.push_back(part.text);
        }
    }
    return found;
}

/// Returns the lines of the header's comment that are further in than its text.
std::string exampleIn(const std::string& header) {
    const std::string indent = "//     ";
    std::istringstream lines(header);
    std::string example;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(indent)) {
            example += line.substr(indent.size()) + '\n';
        }
    }
    return example;
}

TEST(FakeScenarioPagesTest, TheExampleOfTheHeaderIsATest) {
    const std::string example = exampleIn(pageText("clearcase/fakescenario.h"));
    ASSERT_TRUE(example.starts_with("TEST(")) << example;
    const std::string tests = squeezed(pageText("clearcase/fakescenario-win_test.cpp"));
    EXPECT_NE(tests.find(squeezed(example)), std::string::npos) << example;
}

TEST(FakeScenarioPagesTest, TheExamplesOfThePageAreTests) {
    const std::string tests = squeezed(pageText("examples/host/hostlogic_test.cpp"));
    const std::vector<std::string> examples = codeIn(pageText("docs/testing-a-host.md"));
    ASSERT_FALSE(examples.empty());
    for (const std::string& example : examples) {
        EXPECT_NE(tests.find(squeezed(example)), std::string::npos) << example;
    }
}

TEST(FakeScenarioPagesTest, ThePageShowsTheRefusalOfARelativePath) {
    try {
        FakeConfiguration().element("src\\a.c", elementVersion);
        FAIL() << "it was accepted";
    } catch (const std::invalid_argument& refusal) {
        EXPECT_NE(
            pageText("docs/testing-a-host.md").find("\n" + std::string(refusal.what()) + "\n"),
            std::string::npos);
    }
}

}  // namespace
