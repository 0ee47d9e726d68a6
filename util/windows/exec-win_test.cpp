#include "util/windows/exec-win.h"

#include <gtest/gtest.h>

#include "testing/childprocess-win.h"
#include "testing/testedexec-win.h"
#include "testing/utf8path.h"

namespace {

using testing_support::CommandResult;
using testing_support::TestedExec;

TEST(Exec, RunsACommandInADirectoryAndReturnsWhatItPrints) {
    TestedExec exec;
    const std::string folder = testing_support::utf8(testing_support::testProgramFolder());
    const CommandResult result = exec.run("sampleprogram folder", folder);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, folder);
    EXPECT_EQ(result.error, "");
    EXPECT_FALSE(result.aborted);
    EXPECT_TRUE(exec.errors().empty());
}

TEST(Exec, ReturnsTheExitCodeOfACommand) {
    TestedExec exec;
    const std::string folder = testing_support::utf8(testing_support::testProgramFolder());
    EXPECT_EQ(exec.run("sampleprogram exit 42", folder).code, 42);
}

}  // namespace
