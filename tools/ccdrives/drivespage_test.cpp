// What docs/drives.md shows is what is printed. The test programs run in the root of the tree.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/ccdrives/commands.h"
#include "tools/ccdrives/drivelist.h"

namespace {

using namespace ccdrives;

using Texts = std::vector<std::string>;

Texts pageLines() {
    std::ifstream file("docs/drives.md");
    Texts lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

struct Example {
    Texts arguments;
    std::string output;
};

/// Returns the lines that begin with "> ccdrives", each with the lines below it.
std::vector<Example> examples() {
    std::vector<Example> all;
    bool isOutput = false;
    for (const std::string& line : pageLines()) {
        const std::string prompt = "> ccdrives ";
        if (line.starts_with(prompt)) {
            std::istringstream words(line.substr(prompt.size()));
            all.emplace_back();
            for (std::string word; words >> word;) {
                all.back().arguments.push_back(word);
            }
            isOutput = true;
        } else if (line.starts_with("```") || line.starts_with("> ")) {
            isOutput = false;
        } else if (isOutput) {
            all.back().output += line + '\n';
        }
    }
    return all;
}

TEST(DrivesPageTest, TheExamplesInTheirOrderPrintWhatIsShown) {
    std::string list;
    std::string printed;
    ProviderEntries entries{
        .hasOrderParentKey = true, .hasOrderKey = true, .order = "RDPNP,LanmanWorkstation"};
    const Machine machine{
        .drivesFile = "C:\\drives.txt",
        .readDrives = [&](const std::string&) { return list; },
        .editDrives = [&](const std::string&, const auto& edit) { list = edit(list); },
        .readEntries = [&] { return entries; },
        .requireAdministrator = [] {},
        .apply =
            [&](const RegistryChanges& changes) {
                EXPECT_EQ(changes.size(), 3U);
                entries.order = changes.back().text;
                entries.name = viewProvider;
                entries.library = "C:\\tools\\ccdrives_provider.dll";
            },
        .library = "C:\\tools\\ccdrives_provider.dll",
        .isThere = [](const std::string&) { return true; },
        .isProvider = [](const std::string&) { return true; },
        .print = [&](const std::string& text) { printed += text; },
        .complain = [](const std::string& problem) { ADD_FAILURE() << problem; }};
    const std::vector<Example> all = examples();
    ASSERT_EQ(all.size(), 4U);
    for (const Example& example : all) {
        printed.clear();
        EXPECT_EQ(run(parseCommandLine(example.arguments).request, machine), exitDone);
        EXPECT_EQ(printed, example.output);
    }
}

TEST(DrivesPageTest, TheListThatIsShownCanBeRead) {
    std::string list;
    bool isList = false;
    for (const std::string& line : pageLines()) {
        isList = line == "# The drives of the demo." || (isList && !line.starts_with("```"));
        list += isList ? line + '\n' : "";
    }
    const std::vector<DriveConnection> connections = connectionsOf(parseDriveList(list));
    ASSERT_EQ(connections.size(), 3U);
    EXPECT_EQ(connections[1].remoteName, "\\\\view\\main_view");
    EXPECT_EQ(connections[1].provider, viewProvider);
    EXPECT_EQ(connections[2].provider, "Some Other Network");
}

TEST(DrivesPageTest, EachCommandOfThePageIsKnown) {
    for (const Texts& arguments : {Texts{"install", "--library", "f"}, Texts{"remove"},
                                   Texts{"list"}, Texts{"connect", "M:", "\\\\view"},
                                   Texts{"disconnect", "M:"}, Texts{"completion", "bash"}}) {
        const std::string shown = "    " + arguments.front() + " ";
        bool isShown = false;
        for (const std::string& line : pageLines()) {
            isShown = isShown || line.starts_with(shown);
        }
        EXPECT_TRUE(isShown) << arguments.front();
        EXPECT_NO_THROW(static_cast<void>(parseCommandLine(arguments)));
    }
}

}  // namespace
