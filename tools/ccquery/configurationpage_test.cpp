// docs/configuration.md describes the findings of `check`, and its examples and that of README.md
// have them. The test programs run in the root of the tree.

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tools/ccquery/check.h"
#include "tools/ccquery/findings.h"

namespace {

using ccquery::ConfigurationLines;
using ccquery::Finding;
using ccquery::findings;

using Texts = std::vector<std::string>;

/// The description of a finding.
struct Section {
    std::string name;
    std::string example;  ///< a file; empty if the description has none
};

std::string page(const char* name) {
    std::ifstream file(name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string between(const std::string& text, const std::string& begin, const std::string& end) {
    const size_t at = text.find(begin);
    if (at == std::string::npos) {
        return {};
    }
    const size_t from = at + begin.size();
    return text.substr(from, text.find(end, from) - from);
}

std::vector<Section> sections() {
    const std::string mark = "\n**`";
    std::vector<Section> found;
    const std::string text = page("docs/configuration.md");
    for (size_t at = text.find(mark); at != std::string::npos;) {
        const size_t next = text.find(mark, at + 1);
        const std::string section = text.substr(at, next - at);
        found.push_back({between(section, mark, "`**"), between(section, "```ini\n", "```")});
        at = next;
    }
    return found;
}

Texts namesIn(const std::string& file, const std::string& viewRootPrefix) {
    Texts names;
    for (const Finding& finding : findings(ConfigurationLines(file, viewRootPrefix))) {
        names.push_back(finding.name);
    }
    return names;
}

bool contains(const Texts& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

TEST(ConfigurationPageTest, EachFindingIsDescribedOnce) {
    const std::pair<const char*, std::string> files[] = {
        {"byte-order-mark", "\xef\xbb\xbf\n"},
        {"unfinished-line", "[vobs]"},
        {"ctrl-z", "\x1a"},
        {"after-ctrl-z", "\x1a\nx"},
        {"outside-section", "x\n"},
        {"unknown-section", "[x]\n"},
        {"header-without-effect", "[vobs]\n"},
        {"no-equals", "[vobs]\nx\n"},
        {"unknown-flag", "[vobs]\nx=y\n"},
        {"repeated-vob", "[vobs]\nx=\nx=\n"},
        {"relative-path", "[attrs]\nx=\n"},
        {"unknown-type", "[attrs]\nC:\\a=*x\n"},
        {"replaced-element", "[attrs]\nC:\\a=x\nC:\\a=y\n"},
        {"repeated-element", "[attrs]\nC:\\a=x\nC:\\a=x\n"},
        {"case-differs", "[attrs]\nC:\\a=x\nC:\\A=x\n"},
        {"blank-before-equals", "[attrs]\nC:\\a =x\n"},
        {"blank-after-equals", "[attrs]\nC:\\a= x\n"},
        {"unreachable-element", std::string("[attrs]\nC:\\a\0=x\n", 16)},
        {"unreachable-second-path", "[attrs]\nC:/a=x\n"},
    };
    Texts expected;
    for (const auto& [name, file] : files) {
        expected.emplace_back(name);
        EXPECT_TRUE(contains(namesIn(file, "M:\\v"), name)) << name;
    }
    Texts described;
    for (const Section& section : sections()) {
        described.push_back(section.name);
    }
    EXPECT_EQ(described, expected);
}

TEST(ConfigurationPageTest, TheExampleAtTheTopIsWhatIsPrinted) {
    const std::string file =
        "; 1\n; 2\n; 3\n; 4\n; 5\n[attrs]\nC:\\src\\main.c=/main/3*Version\n; 8\n"
        "src\\main.c=/main/3*version\n";
    const std::string command = "> ccquery check project.ini\n";
    const std::string printed = ccquery::check("project.ini", file, "", /*json=*/false).output;
    EXPECT_EQ(between(page("docs/configuration.md"), command, "```"), printed);
    EXPECT_EQ(between(page("README.md"), command, "```"),
              printed.substr(0, printed.find('\n') + 1));
}

TEST(ConfigurationPageTest, EachExampleHasTheFindingThatItIsFor) {
    size_t count = 0;
    for (const auto& [name, example] : sections()) {
        if (!example.empty()) {
            ++count;
            EXPECT_TRUE(contains(namesIn(example, "M:\\main_view"), name)) << name;
        }
    }
    EXPECT_GE(count, 8U);
}

}  // namespace
