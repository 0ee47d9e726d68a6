// The examples of --explain in README.md are what is printed. The test programs run in the root of
// the tree.

#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tools/ccquery/explainstatus.h"
#include "tools/ccquery/explainviewpath.h"
#include "tools/shared/report.h"

namespace {

using namespace ccquery;
using tools::explainedText;
using tools::Row;

std::string readme() {
    std::ifstream file("README.md");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Returns what is between two texts of the page.
std::string between(const std::string& begin, const std::string& end) {
    const std::string text = readme();
    const size_t at = text.find(begin) + begin.size();
    return text.substr(at, text.find(end, at) - at);
}

TEST(ExplainExamplesTest, TheExampleOfStatusIsWhatIsPrinted) {
    const Explain explain =
        statusExplainer({.configName = "project.ini",
                         .configText = between("```ini\n", "```"),
                         .viewRootPrefix = "",
                         .look = [](const std::string&) { return std::nullopt; }});
    const auto text = [&](const Row& row, int type, const char* name, const std::string& version) {
        const Explanation explanation = explain(
            row[0],
            {{"type", type}, {"typeName", name}, {"version", version}, {"target", nullptr}});
        EXPECT_TRUE(explanation.agrees);
        return explainedText(row, explanation.lines);
    };
    EXPECT_EQ(between("C:/src/main.c C:\\src\\Main.c\n", "> ccquery"),
              text({"C:/src/main.c", "version (1)", "/main/0"}, 1, "version", "/main/0") +
                  text({"C:\\src\\Main.c", "view_private (4)", "", ""}, 4, "view_private", ""));
}

TEST(ExplainExamplesTest, TheExampleOfCanonicalizeIsWhatIsPrinted) {
    const Explain explain = viewPathExplainer(
        {.mvfsRoot = "M:", .viewDrives = {{"X:", "tag1"}}, .cwd = "C:\\", .tags = {"X:\\vob"}});
    const Row row = {"M:\\tag1\\vob\\a.c", "X:\\vob\\a.c"};
    const Explanation explanation = explain(row[0], {{"canonical", row[1]}});
    EXPECT_TRUE(explanation.agrees);
    EXPECT_EQ(between("--tag X:\\vob M:\\tag1\\vob\\a.c\n", "```"),
              explainedText(row, explanation.lines));
}

}  // namespace
