// What docs/journal.md shows of the commands is what is printed.

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "testing/exampleshell.h"
#include "testing/page.h"

namespace {

using namespace testing_support;

/// Returns a console with the journal that the page describes.
ExampleShell describedShell() {
    ExampleShell shell;
    shell.world.mvfsRoot = "M:";
    shell.world.views = {{"X:", "main_view"}};
    const std::string missing = statusLine(R"("C:\\src\\Main.c")", elementViewPrivate, R"("")");
    shell.files["journal.jsonl"] =
        connectLine() +
        journalLine("getMvfsDrives", R"({"drives":[]})",
                    R"({"text":"M:","drives":[["X:","main_view"]]})") +
        statusLine(R"("C:\\src\\main.c")", elementVersion, R"("/main/3")") + missing + missing;
    return shell;
}

TEST(JournalPageTest, TheExamplesInTheirOrderPrintWhatIsShown) {
    ExampleShell shell = describedShell();
    std::set<std::string> shown;
    for (const PagePart& part : partsOf(pageText("docs/journal.md"))) {
        if (part.language == "ini") {
            shell.files["project.ini"] = part.text;
        }
        for (const PageCommand& command : commandsIn(part.text)) {
            EXPECT_EQ(shell.run(command.command), command.output) << command.command;
            shown.insert(part.section);
        }
    }
    EXPECT_EQ(shown, (std::set<std::string>{"Recording", "Verifying", "Usage"}));
}

}  // namespace
