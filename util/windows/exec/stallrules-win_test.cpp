// Which rule watches a command, and the replacement of rules.

#include <functional>
#include <iterator>
#include <string>
#include <tuple>

#include <boost/regex.hpp>
#include <gtest/gtest.h>

#include <windows.h>

#include "testing/processes/execwait-win.h"

namespace {

using namespace testing_support;

constexpr uint32_t time = watchTime;
constexpr JOBOBJECTINFOCLASS list = JobObjectBasicProcessIdList;
constexpr JOBOBJECTINFOCLASS accountingClass = JobObjectBasicAndIoAccountingInformation;

/// The pattern of the current rule, or "none".
std::string currentPattern(TestedExec& exec) {
    return exec.currentRule() != nullptr ? exec.currentRule()->mPattern : "none";
}

TEST(StallRuleSelection, APatternIsExtendedIgnoresCaseAndMatchesTheWholeCommand) {
    struct Row {
        const char* pattern;
        const char* command;
        bool isMatch;
    };
    for (const Row& row :
         {Row{"cl", "cl", true}, Row{"cl", "cl /c a.c", false}, Row{"cl", "xcl", false},
          Row{"cl.*", "cl /c a.c", true}, Row{"cl|link", "link", true},
          Row{"cl|link", "clink", false}, Row{"CL.*C", "cl /c A.c", true},
          Row{"[A-C]+", "abc", true}, Row{"a+b", "aab", true}, Row{"a+b", "a+b", false},
          Row{"(a|b){3}", "aba", true}, Row{"(a|b){3}", "ab", false},
          Row{"[[:digit:]]+ x?", "42 ", true}, Row{"a\\.c", "a.c", true},
          Row{"a\\.c", "abc", false}, Row{"a*", "", true}, Row{".*", "", true},
          Row{"x", "", false}}) {
        TestedExec exec;
        exec.setStallRules({{row.pattern, 700, time}});
        exec.selectStallRule(row.command);
        EXPECT_EQ(exec.currentRule() != nullptr, row.isMatch) << row.pattern << ' ' << row.command;
        EXPECT_EQ(exec.mJobPattern, row.isMatch ? row.pattern : "");
        EXPECT_EQ(exec.stallCountdown(), row.isMatch ? 700 : 0);
    }
}

TEST(StallRuleSelection, TheFirstRuleThatMatchesWins) {
    TestedExec exec;
    exec.setStallRules({{"link", 1, time}, {"c.*", 2, time}, {"cl", 3, time}});
    exec.selectStallRule("cl");
    EXPECT_EQ(currentPattern(exec), "c.*");
    EXPECT_EQ(exec.currentRule(), &*std::next(exec.stallRules().begin()));
    EXPECT_EQ(exec.mJobPattern, "c.*");
    EXPECT_EQ(exec.stallCountdown(), 2);
}

TEST(StallRuleSelection, WithoutAMatchTheLastPatternStaysAndNoRuleIsInForce) {
    TestedExec exec;
    exec.setStallRules({{"cl", 700, time}});
    exec.selectStallRule("cl");
    exec.selectStallRule("link");
    EXPECT_EQ(currentPattern(exec), "none");
    EXPECT_EQ(exec.mJobPattern, "cl");
    EXPECT_EQ(exec.stallCountdown(), 0);
}

TEST(StallRuleSelection, WithoutRulesTheLastPatternStaysAndNoRuleIsInForce) {
    TestedExec exec;
    exec.setStallRules({{"cl", 700, time}});
    exec.selectStallRule("cl");
    exec.stallRules().clear();
    exec.selectStallRule("cl");
    EXPECT_EQ(currentPattern(exec), "none");
    EXPECT_EQ(exec.mJobPattern, "cl");
    EXPECT_EQ(exec.stallCountdown(), 0);
}

TEST(StallRuleSelection, ARuleThatWatchesNothingMatchesNevertheless) {
    TestedExec exec;
    exec.setStallRules({{"cl"}, {"cl", 700, time}});
    exec.selectStallRule("cl");
    EXPECT_EQ(exec.currentRule(), &exec.stallRules().front());
    EXPECT_EQ(exec.mJobPattern, "cl");
}

TEST(StallRuleSelection, ABadPatternIsThrownOutOfTheRun) {
    TestedExec exec;
    exec.setStallRules({{"(a", 700, time}});
    EXPECT_THROW(exec.run(waitedChild("exit 0")), boost::regex_error);
    // Nothing is left locked.
    exec.setStallRules({});
    EXPECT_EQ(exec.run(waitedChild("exit 9")).code, 9);
}

TEST(StallRuleSelection, ABadPatternAfterAMatchIsNotLookedAt) {
    TestedExec exec;
    exec.setStallRules({{"cl", 700, time}, {"(a", 700, time}});
    exec.selectStallRule("cl");
    EXPECT_EQ(currentPattern(exec), "cl");
    EXPECT_THROW(exec.selectStallRule("link"), boost::regex_error);
}

TEST(StallRuleReplacement, TheRuleOfTheSamePatternIsInForceFromNowOn) {
    TestedExec exec;
    exec.setStallRules({{"cl", 700, time}});
    exec.selectStallRule("cl");
    exec.stallCountdown() = 200;
    exec.setStallRules({{".*", 1, time}, {"cl", 1500, watchIo}, {"cl", 3, time}});
    EXPECT_EQ(exec.currentRule(), &*std::next(exec.stallRules().begin()));
    EXPECT_EQ(exec.stallCountdown(), 1500);
}

TEST(StallRuleReplacement, WithoutThatPatternNoRuleIsInForceAndTheTimeIsThatOfTheOldOne) {
    TestedExec exec;
    exec.setStallRules({{"cl", 700, time}});
    exec.selectStallRule("cl");
    exec.stallCountdown() = 200;
    // The texts of the patterns are compared.
    exec.setStallRules({{"CL", 1500, time}, {".*", 1500, time}});
    EXPECT_EQ(currentPattern(exec), "none");
    EXPECT_EQ(exec.stallCountdown(), 700);
    EXPECT_EQ(exec.mJobPattern, "cl");
    EXPECT_EQ(exec.stallRules().size(), 2U);
    exec.setStallRules({});
    EXPECT_EQ(exec.stallCountdown(), 0);
}

TEST(StallRuleReplacement, ThePatternOfAnEarlierCommandBringsItsRuleBack) {
    TestedExec exec;
    exec.setStallRules({{"cl", 700, time}});
    exec.selectStallRule("cl");
    exec.selectStallRule("link");
    exec.setStallRules({{"cl", 900, time}});
    EXPECT_EQ(currentPattern(exec), "cl");
    EXPECT_EQ(exec.stallCountdown(), 900);
}

TEST(StallRuleReplacement, OutsideJobModeNoRuleIsInForce) {
    TestedExec exec;
    exec.setStallRules({{"", 700, time}, {"cl", 700, time}});
    EXPECT_EQ(currentPattern(exec), "none");
    EXPECT_EQ(exec.stallCountdown(), 0);
}

class StallRulesInARun : public testing_support::ExecWaitTest {
protected:
    /// Runs a silent command. The action happens in its first round; the command ends after ten.
    CommandResult runSilently(const std::function<void()>& inFirstRound) {
        accounting.setFixed({});
        wakes.onTimeout([this, inFirstRound](size_t wake) -> DWORD {
            if (wake == 1) {
                inFirstRound();
            }
            if (wake < 10) {
                return WAIT_TIMEOUT;
            }
            make("go");
            return QuickWakes::awaitEnd;
        });
        return exec.run(waitedChild("await " + file("go") + " exit 9"));
    }
};

TEST_F(StallRulesInARun, ALongerTimeSavesTheCommand) {
    exec.setStallRules({{".*", 500, time}});
    EXPECT_EQ(runSilently([this] { exec.setStallRules({{".*", 60000, time}}); }).code, 9);
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(StallRulesInARun, AShorterTimeStallsIt) {
    exec.setStallRules({{".*", 60000, time}});
    const auto shorten = [this] { exec.setStallRules({{".*", 500, time}}); };
    EXPECT_EQ(runSilently(shorten).code, Exec::failureCode);
    EXPECT_EQ(exec.errors().size(), 1U);
}

TEST_F(StallRulesInARun, WithoutItsRuleTheCommandIsNotWatched) {
    exec.setStallRules({{".*", 500, time}});
    EXPECT_EQ(runSilently([this] { exec.setStallRules({}); }).code, 9);
    EXPECT_TRUE(exec.errors().empty());
    EXPECT_EQ(accounting.queryCount(accountingClass), 0U);
}

TEST_F(StallRulesInARun, ACommandThatMatchesNoRuleRunsInTheJobAndIsNotWatched) {
    exec.setStallRules({{".*exit 7", 60000, time}});
    EXPECT_EQ(exec.run(waitedChild("exit 7")).code, 7);
    const size_t lists = accounting.queryCount(list);
    const size_t figures = accounting.queryCount(accountingClass);
    EXPECT_EQ(runSilently([] {}).code, 9);
    EXPECT_EQ(accounting.queryCount(accountingClass), figures);
    // Leftovers of the command were looked for.
    EXPECT_GT(accounting.queryCount(list), lists);
}

TEST_F(StallRulesInARun, ACommandBeforeAnyMatchRunsWithoutAJob) {
    exec.setStallRules({{".*exit 7", 60000, time}});
    EXPECT_EQ(runSilently([] {}).code, 9);
    EXPECT_FALSE(exec.mJob.isOpen());
    EXPECT_EQ(accounting.queryCount(list), 0U);
}

TEST_F(StallRulesInARun, TheTimeBeginsWithTheCommand) {
    exec.setStallRules({{".*", 1500, time}});
    int32_t countdown = 0;
    runSilently([&] { countdown = exec.stallCountdown(); });
    EXPECT_EQ(countdown, 1500);
}

TEST_F(StallRulesInARun, AResetEndsJobModeAndKeepsTheJobAndTheLog) {
    exec.setStallRules({{".*", 60000, time}});
    EXPECT_EQ(runSilently([] {}).code, 9);
    exec.lastCounters() = std::tuple(1, 2, 3U, 4U, 5U);
    const std::string log = exec.log();
    exec.reset();
    EXPECT_EQ(currentPattern(exec), "none");
    EXPECT_EQ(exec.mJobPattern, "");
    EXPECT_TRUE(exec.stallRules().empty());
    EXPECT_EQ(exec.mPid, Exec::noPid);
    EXPECT_TRUE(exec.mJob.isOpen());
    EXPECT_EQ(exec.lastCounters(), std::tuple(1, 2, 3U, 4U, 5U));
    EXPECT_EQ(exec.log(), log);
    const size_t lists = accounting.queryCount(list);
    EXPECT_EQ(exec.run(waitedChild("exit 7")).code, 7);
    EXPECT_EQ(accounting.queryCount(list), lists);
}

}  // namespace
