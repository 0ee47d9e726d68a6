#include "testing/processes/testedexec-win.h"

#include <gtest/gtest.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"

namespace {

using namespace testing_support;

TEST(TestedExecTest, AStartThatFailsInternallyIsTriedAgainAndNotReported) {
    TestedExec exec;
    const RecordedStarts starts({ERROR_INTERNAL_ERROR, ERROR_INTERNAL_ERROR});
    const CommandResult result = exec.run(execChild("say x"));
    EXPECT_EQ(starts.calls().size(), 3U);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "x");
    EXPECT_TRUE(exec.errors().empty());
}

TEST(TestedExecTest, SuchAStartIsKnownAlsoWhereErrorsHaveNoMessages) {
    const SystemMessage noWords(L"");
    TestedExec exec;
    const RecordedStarts starts({ERROR_INTERNAL_ERROR});
    EXPECT_EQ(exec.run(execChild("say x")).code, 0);
    EXPECT_TRUE(exec.errors().empty());
}

TEST(TestedExecTest, AnyOtherStartThatFailsIsReported) {
    TestedExec exec;
    const RecordedStarts starts({ERROR_ACCESS_DENIED});
    EXPECT_EQ(exec.run(execChild("say x")).code, Exec::failureCode);
    EXPECT_EQ(starts.calls().size(), 1U);
    EXPECT_EQ(exec.errors().size(), 1U);
}

}  // namespace
