// The messages that only ccquery.exe writes are those of docs/ccquery.md.

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/describedmessage.h"
#include "testing/pagemessages.h"
#include "testing/processes/ccqueryrun-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

TEST(CcqueryPageOnWindowsTest, TheMessagesAreThoseOfThePage) {
    const TempFolder folder;
    const std::string none = folder.utf8("none");
    ChildRun withoutConnection = sample({"view"});
    withoutConnection.environment = {{"SAMPLECONNECTION_NULL", "1"}};
    ChildRun withoutInput = sample({"status", "-"});
    withoutInput.input = folder.path();
    ChildRun withoutOutput = sample({"view"});
    withoutOutput.refusesOutput = true;
    // In the order of the messages.
    const std::vector<ChildRun> runs = {
        ccquery({"view", "--library", none}),
        ccquery({"view", "--library", "kernel32.dll"}),
        withoutConnection,
        ccquery({"errors", "--config", none}),
        ccquery({"check", none}),
        sample({"status", "\\\\server"}),
        withoutInput,
        withoutOutput,
    };
    ASSERT_EQ(runs.size(), messagesOfWindows.size());
    for (size_t i = 0; i < runs.size(); ++i) {
        const ChildResult result = runChild(runs[i]);
        EXPECT_TRUE(isAsDescribed(result.error, std::string("ccquery: ") + messagesOfWindows[i]))
            << result.error;
        EXPECT_EQ(result.exitCode, 2U) << messagesOfWindows[i];
    }
}

}  // namespace
