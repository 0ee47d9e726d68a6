// What docs/configuration.md shows of the rules is what the fake answers, and it describes the
// findings of `check`, which its examples have.

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "clearcase/elementtypes.h"
#include "testing/exampleshell.h"
#include "testing/page.h"
#include "tools/ccquery/check.h"
#include "tools/ccquery/findings.h"

namespace {

using ccquery::ConfigurationLines;
using ccquery::Finding;
using ccquery::findings;
using testing_support::commandsIn;
using testing_support::ExampleShell;
using testing_support::FakeWorld;
using testing_support::PageCommand;
using testing_support::PagePart;
using testing_support::pageText;
using testing_support::partsOf;
using testing_support::PortableFake;

using Texts = std::vector<std::string>;

/// The description of a finding.
struct Section {
    std::string name;
    std::string text;
};

const char* const pageName = "docs/configuration.md";

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
    const std::string text = pageText(pageName);
    for (size_t at = text.find(mark); at != std::string::npos;) {
        const size_t next = text.find(mark, at + 1);
        const std::string section = text.substr(at, next - at);
        found.push_back({between(section, mark, "`**"), section});
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
    EXPECT_EQ(between(pageText(pageName), command, "```"), printed);
}

/// Returns the parts of the page about the rules.
std::vector<PagePart> rules() {
    const std::string text = pageText(pageName);
    return partsOf(text.substr(0, text.find("\n## What `ccquery check` finds\n")));
}

TEST(ConfigurationPageTest, EachRuleAnswersAsItsExampleShows) {
    std::optional<ExampleShell> shell;
    size_t count = 0;
    for (const PagePart& part : rules()) {
        if (part.language == "ini") {
            shell.emplace();
            shell->files["nbclearcase_fake.ini"] = part.text;
            shell->world.writableFolders = {"C:/here/vobs/tools"};
            shell->world.disk = {{"C:\\disk", FakeWorld::File::folder},
                                 {"C:\\disk\\read-only.c", FakeWorld::File::readOnly},
                                 {"C:\\disk\\writable.c", FakeWorld::File::writable}};
        }
        for (const PageCommand& command : commandsIn(part.text)) {
            ++count;
            ASSERT_TRUE(shell);
            EXPECT_EQ(shell->run(command.command), command.output) << command.command;
        }
    }
    EXPECT_GE(count, 10U);
}

/// Returns the bytes that a text means in which "\n", "\r" and "\x1a" are escaped.
std::string bytesOf(const std::string& escaped) {
    std::string bytes;
    for (size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != '\\') {
            bytes += escaped[i];
            continue;
        }
        const char kind = escaped.at(++i);
        if (kind == 'x') {
            bytes += static_cast<char>(std::stoi(escaped.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            bytes += kind == 'n' ? '\n' : '\r';
        }
    }
    return bytes;
}

bool hasLine(const std::string& text, const std::string& line) {
    return ('\n' + text).find('\n' + line + '\n') != std::string::npos;
}

/// Expects that the examples of a finding print what is shown. Returns how many show the finding.
size_t shownFindings(const Section& section) {
    const std::string end = " [" + section.name + "]";
    ExampleShell shell;
    std::string& file = shell.files["project.ini"];
    size_t count = 0;
    for (const PagePart& part : partsOf(section.text)) {
        if (part.language == "ini") {
            file = part.text;
        }
        for (const PageCommand& command : commandsIn(part.text)) {
            EXPECT_EQ(shell.run(command.command), command.output) << section.name;
            count += command.output.find(end + '\n') == std::string::npos ? 0 : 1;
        }
        if (part.kind == PagePart::Kind::row) {
            file = bytesOf(part.cells.at(0));
            EXPECT_PRED2(hasLine, shell.run("ccquery check project.ini"), part.cells.at(1));
            count += part.cells[1].ends_with(end) ? 1 : 0;
        }
    }
    return count;
}

TEST(ConfigurationPageTest, EachFindingHasAnExampleWithTheLineThatIsPrinted) {
    size_t count = 0;
    for (const Section& section : sections()) {
        EXPECT_GE(shownFindings(section), 1U) << section.name;
        ++count;
    }
    EXPECT_EQ(count, 19U);
}

TEST(ConfigurationPageTest, TheBytesOfAFileMeanWhatTheTableSays) {
    size_t count = 0;
    for (const PagePart& part : rules()) {
        if (part.kind != PagePart::Kind::row || part.section != "Bytes") {
            continue;
        }
        ++count;
        const ConfigurationLines file(bytesOf(part.cells[0]), "");
        std::string tags;
        for (const VobRecord& vob : file.configuration().vobs) {
            tags += (tags.empty() ? "" : ", ") + vob.tag;
        }
        EXPECT_EQ(tags, part.cells[1]) << part.text;
    }
    EXPECT_GE(count, 7U);
}

TEST(ConfigurationPageTest, EachTypeHasItsNumberAndItsVersion) {
    std::map<std::string, ElementType> described;
    for (const PagePart& part : rules()) {
        if (part.kind != PagePart::Kind::row || part.section != "Elements") {
            continue;
        }
        const std::string& name = part.cells[0];
        described[name] = static_cast<ElementType>(std::stoi(part.cells[1]));
        const FakeWorld world;
        PortableFake fake("[attrs]\nC:\\a=x*" + name + "\n", world);
        std::string version;
        EXPECT_EQ(fake.getElementStatus("C:\\a", &version, nullptr), described[name]) << name;
        EXPECT_EQ(version, part.cells[2]) << name;
    }
    EXPECT_EQ(described, elementTypeMap);
}

}  // namespace
