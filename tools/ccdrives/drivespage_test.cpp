// What docs/drives.md shows is what is printed. The test programs run in the root of the tree.

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/page.h"
#include "tools/ccdrives/commands.h"
#include "tools/ccdrives/drivelist.h"

namespace {

using namespace ccdrives;
using namespace testing_support;

using Texts = std::vector<std::string>;

std::vector<PagePart> page() { return partsOf(pageText("docs/drives.md")); }

Texts wordsOf(const std::string& command) {
    std::istringstream stream(command);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// Returns the commands of ccdrives that the page shows with what they print.
std::vector<PageCommand> examples() {
    std::vector<PageCommand> all;
    for (const PagePart& part : page()) {
        for (const PageCommand& command : commandsIn(part.text)) {
            if (command.command.starts_with("ccdrives ")) {
                all.push_back(command);
            }
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
    const std::vector<PageCommand> all = examples();
    ASSERT_EQ(all.size(), 4U);
    for (const PageCommand& example : all) {
        printed.clear();
        Texts arguments = wordsOf(example.command);
        arguments.erase(arguments.begin());
        EXPECT_EQ(run(parseCommandLine(arguments).request, machine), exitDone);
        EXPECT_EQ(printed, example.output);
    }
}

TEST(DrivesPageTest, TheListThatIsShownCanBeRead) {
    std::string list;
    for (const PagePart& part : page()) {
        if (part.text.starts_with("# The drives of the demo.\n")) {
            list = part.text;
        }
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
        EXPECT_NE(pageText("docs/drives.md").find("\n    " + arguments.front() + " "),
                  std::string::npos)
            << arguments.front();
        EXPECT_NO_THROW(static_cast<void>(parseCommandLine(arguments)));
    }
}

}  // namespace
