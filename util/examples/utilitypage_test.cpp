// docs/utility.md shows the tests of this folder and of util/windows/examples, and all of them, so
// that nothing is shown that isn't compiled and run. What an example prints is compared where it
// runs: see testing/pageexamples.h.

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/page.h"
#include "testing/pageexamples.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

std::string page() { return pageText("docs/utility.md"); }

/// Returns the sources of the examples by their paths.
std::map<std::string, std::string> sources() {
    std::map<std::string, std::string> found;
    for (const char* const folder : {"util/examples", "util/windows/examples"}) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string path = entry.path().generic_string();
            found[path] = pageText(path);
        }
    }
    return found;
}

bool hasBody(const std::string& source, const std::string& code) {
    const std::vector<FixtureTest> bodies = fixtureTestsIn(source);
    return std::any_of(bodies.begin(), bodies.end(),
                       [&code](const FixtureTest& body) { return body.code == code; });
}

/// Returns what the group of a pattern matches in the page.
Texts matches(const std::string& pattern) {
    const std::string text = page();
    const std::regex search(pattern);
    Texts found;
    for (std::sregex_iterator at(text.begin(), text.end(), search), end; at != end; ++at) {
        found.push_back((*at)[1]);
    }
    return found;
}

/// Returns the name by which a link within a page leads to a heading.
std::string anchorOf(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        if (c == ' ') {
            anchor += '-';
        } else if (c == '-' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z')) {
            anchor += c;
        } else if (c >= 'A' && c <= 'Z') {
            anchor += static_cast<char>(c - 'A' + 'a');
        }
    }
    return anchor;
}

TEST(UtilityPageTest, EachExampleIsATestWithTheSameIncludes) {
    const auto files = sources();
    const auto examples = examplesIn(page());
    ASSERT_FALSE(examples.empty());
    for (const ShownExample& example : examples) {
        const auto file = std::find_if(files.begin(), files.end(), [&example](const auto& source) {
            return hasBody(source.second, example.code);
        });
        ASSERT_NE(file, files.end()) << example.code;
        EXPECT_FALSE(example.includes.empty()) << example.code;
        for (const std::string& include : example.includes) {
            EXPECT_NE(file->second.find('\n' + include + '\n'), std::string::npos)
                << include << " isn't in " << file->first;
        }
    }
}

TEST(UtilityPageTest, EachTestIsShownOnce) {
    const auto examples = examplesIn(page());
    for (const auto& [path, source] : sources()) {
        for (const FixtureTest& body : fixtureTestsIn(source)) {
            EXPECT_EQ(
                std::count_if(examples.begin(), examples.end(),
                              [&body](const ShownExample& it) { return it.code == body.code; }),
                1)
                << path << ' ' << body.name;
        }
    }
}

TEST(UtilityPageTest, EachSectionWithAnExampleIsInTheTableOnce) {
    const std::string text = page();
    const std::string table = text.substr(0, text.find("\n## "));
    const Texts headings = matches("\n### ([^\n]*)\n");
    EXPECT_EQ(headings.size(), examplesIn(text).size());
    for (const std::string& heading : headings) {
        const std::string link = "](#" + anchorOf(heading) + ")";
        EXPECT_NE(table.find(link), std::string::npos) << heading;
        EXPECT_EQ(table.find(link), table.rfind(link)) << heading;
    }
}

}  // namespace
