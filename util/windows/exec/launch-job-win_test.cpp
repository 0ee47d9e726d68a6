// The job of a command: when it is made, its limits, and how the child gets into it.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/beforeresume-win.h"
#include "testing/calls/jobaccounting-win.h"
#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/scopes/environmentscope.h"
#include "util/windows/exec-win.h"
#include "util/windows/exec/priority-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

struct Limits {
    HANDLE job;
    JOBOBJECTINFOCLASS what;
    DWORD size;
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION values;
};
struct Assignment {
    HANDLE job;
    HANDLE process;
    std::string directory;
    std::string path;
};

/// Which jobs were requested, and what to refuse.
struct Jobs {
    int created = 0;
    bool named = false;
    std::vector<Limits> limits;
    std::vector<Assignment> assignments;
    DWORD creationError = NO_ERROR;
    DWORD limitsError = NO_ERROR;
    DWORD assignmentError = NO_ERROR;

    decltype(&CreateJobObjectA) create = nullptr;
    decltype(&SetInformationJobObject) set = nullptr;
    decltype(&AssignProcessToJobObject) assign = nullptr;
} gJobs;

HANDLE WINAPI createJob(LPSECURITY_ATTRIBUTES attributes, LPCSTR name) {
    ++gJobs.created;
    gJobs.named = gJobs.named || attributes != nullptr || name != nullptr;
    if (gJobs.creationError != NO_ERROR) {
        SetLastError(gJobs.creationError);
        return nullptr;
    }
    return gJobs.create(attributes, name);
}

BOOL WINAPI setLimits(HANDLE job, JOBOBJECTINFOCLASS what, LPVOID values, DWORD size) {
    Limits limits = {job, what, size, {}};
    if (size == sizeof limits.values) {
        limits.values = *static_cast<const JOBOBJECT_EXTENDED_LIMIT_INFORMATION*>(values);
    }
    gJobs.limits.push_back(limits);
    if (gJobs.limitsError != NO_ERROR) {
        SetLastError(gJobs.limitsError);
        return FALSE;
    }
    return gJobs.set(job, what, values, size);
}

BOOL WINAPI assign(HANDLE job, HANDLE process) {
    const char* path = std::getenv("PATH");
    gJobs.assignments.push_back({job, process, System::getcwd(), path != nullptr ? path : ""});
    if (gJobs.assignmentError != NO_ERROR) {
        SetLastError(gJobs.assignmentError);
        return FALSE;
    }
    return gJobs.assign(job, process);
}

class ExecLaunchJobTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        gJobs = {};
        gJobs.create = mCreate.original();
        gJobs.set = mSet.original();
        gJobs.assign = mAssign.original();
    }
    void TearDown() override {
        gRaisePriority.store(mRaisePriority);
        CommandTest::TearDown();
    }

    /// Commands of execchild run in a job.
    void useJob() { mExec->setStallRules({{".*execchild.*", 60000}}); }

    ReplacedCall<decltype(CreateJobObjectA)> mCreate{"CreateJobObjectA", &createJob};
    ReplacedCall<decltype(SetInformationJobObject)> mSet{"SetInformationJobObject", &setLimits};
    ReplacedCall<decltype(AssignProcessToJobObject)> mAssign{"AssignProcessToJobObject", &assign};
    const int32_t mRaisePriority = gRaisePriority;
};

TEST_F(ExecLaunchJobTest, WithoutAMatchingRuleThereIsNoJob) {
    mExec->setStallRules({{"execchild", 1000, watchTime}});
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(gJobs.created, 0);
    EXPECT_TRUE(gJobs.assignments.empty());
    EXPECT_EQ(mExec->mJob.get(), nullptr);
}

TEST_F(ExecLaunchJobTest, AMatchingRuleMakesAJobWithoutANameAndPutsTheChildIntoIt) {
    useJob();
    const RecordedStarts starts;
    const CommandResult result = mExec->run(execChild("say x"), mFolder.utf8());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "x");
    EXPECT_EQ(gJobs.created, 1);
    EXPECT_FALSE(gJobs.named);
    ASSERT_EQ(gJobs.assignments.size(), 1U);
    EXPECT_EQ(gJobs.assignments[0].job, mExec->mJob.get());
    EXPECT_EQ(gJobs.assignments[0].process, starts.last().process.hProcess);
    EXPECT_EQ(mExec->log(), "\twd: " + mFolder.utf8() + "\twaiting for child pid " +
                                std::to_string(starts.last().process.dwProcessId) + "\n");
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecLaunchJobTest, TheLimitsLetProcessesOutAndCanRaiseThePriority) {
    struct Row {
        int32_t raise;
        DWORD flags;
        DWORD priority;
    };
    for (const Row& row : {Row{0, JOB_OBJECT_LIMIT_BREAKAWAY_OK, 0},
                           Row{1, JOB_OBJECT_LIMIT_BREAKAWAY_OK | JOB_OBJECT_LIMIT_PRIORITY_CLASS,
                               HIGH_PRIORITY_CLASS}}) {
        gRaisePriority = row.raise;
        gJobs.limits.clear();
        mExec.emplace();
        useJob();
        EXPECT_EQ(mExec->run(execChild()).code, 0);
        ASSERT_EQ(gJobs.limits.size(), 1U);
        const Limits& limits = gJobs.limits[0];
        EXPECT_EQ(limits.job, mExec->mJob.get());
        EXPECT_EQ(limits.what, JobObjectExtendedLimitInformation);
        EXPECT_EQ(limits.size, sizeof(JOBOBJECT_EXTENDED_LIMIT_INFORMATION));
        EXPECT_EQ(limits.values.BasicLimitInformation.LimitFlags, row.flags);
        EXPECT_EQ(limits.values.BasicLimitInformation.PriorityClass, row.priority);
    }
}

TEST_F(ExecLaunchJobTest, LaterCommandsUseTheSameJobAsItIs) {
    useJob();
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    HANDLE job = mExec->mJob.get();
    gRaisePriority = 1;
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    // The same for a command that matches no rule.
    mExec->setStallRules({});
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(gJobs.created, 1);
    EXPECT_EQ(gJobs.limits.size(), 1U);
    ASSERT_EQ(gJobs.assignments.size(), 3U);
    EXPECT_EQ(gJobs.assignments[2].job, job);
}

TEST_F(ExecLaunchJobTest, AJobThatCannotBeMadeEndsTheRun) {
    struct Row {
        DWORD Jobs::*error;
        const char* words;
    };
    for (const Row& row :
         {Row{&Jobs::creationError, "Exec::runCommand couldn't create Job object: It can't be\n"},
          Row{&Jobs::limitsError,
              "Exec::runCommand couldn't set Job object limits: It can't be\n"}}) {
        const SystemMessage message(L"It can't be.");
        const RecordedStarts starts;
        mExec.emplace();
        useJob();
        gJobs.*row.error = ERROR_ACCESS_DENIED;
        const CommandResult result = mExec->run(execChild("say x"));
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, row.words);
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(mExec->errors(), Texts({row.words}));
        EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_ACCESS_DENIED));
        EXPECT_TRUE(starts.calls().empty());
        // The next run succeeds.
        gJobs.*row.error = NO_ERROR;
        EXPECT_EQ(mExec->run(execChild("say x")).output, "x");
    }
}

TEST_F(ExecLaunchJobTest, AChildOutsideTheJobIsReportedAndGoesOn) {
    const SystemMessage message(L"It can't be.");
    useJob();
    gJobs.assignmentError = ERROR_ACCESS_DENIED;
    const CommandResult result = mExec->run(execChild("say x complain y exit 3"));
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.output, "x");
    EXPECT_EQ(result.error, "y");
    EXPECT_EQ(mExec->errors(), Texts({"Exec::runCommand couldn't assign process to job"}));
}

TEST_F(ExecLaunchJobTest, TheChildIsInTheJobBeforeItRunsButAfterThePathIsRestored) {
    const EnvironmentScope path("PATH", "c:\\callers path");
    const std::string directory = System::getcwd();
    useJob();
    std::vector<size_t> assignedAtResume;
    const RecordedStarts starts;
    const BeforeResume resumed(
        [&](HANDLE) { assignedAtResume.push_back(gJobs.assignments.size()); });
    EXPECT_EQ(mExec->run(execChild(), mFolder.utf8(), "PATH=c:\\childs path\0").code, 0);
    EXPECT_EQ(starts.last().currentDirectory, mFolder.path().wstring());
    EXPECT_EQ(starts.last().path, L"c:\\childs path");
    EXPECT_NE(starts.last().flags & CREATE_SUSPENDED, 0U);
    ASSERT_EQ(gJobs.assignments.size(), 1U);
    EXPECT_EQ(gJobs.assignments[0].directory, directory);
    EXPECT_EQ(gJobs.assignments[0].path, "c:\\callers path");
    EXPECT_EQ(assignedAtResume, std::vector<size_t>({1}));
}

TEST_F(ExecLaunchJobTest, ARuleThatOnlyTheAlternateMatchesComesTooLateForAJob) {
    const SystemMessage message(L"It can't be.");
    const JobAccounting accounting;
    mExec->setStallRules({{".*execchild.*alternate", 1000}});
    Exec::RunInfo info;
    info.mDirectArgv = {"missing-program"};
    info.mAlternateArgv = {execChild("say alternate")};
    const CommandResult result = mExec->run(info);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "alternate");
    EXPECT_EQ(gJobs.created, 0);
    ASSERT_EQ(gJobs.assignments.size(), 1U);
    EXPECT_EQ(gJobs.assignments[0].job, nullptr);
    const std::string noList =
        "Exec::waitChildren got error from QueryInformationJobObject: It can't be\n";
    EXPECT_EQ(result.error, noList);
    EXPECT_EQ(mExec->errors(), Texts({"Exec::runCommand couldn't assign process to job", noList}));
    EXPECT_EQ(mExec->stallCountdown(), 1000);
    // The system isn't asked: without a job it answers about the one that holds this process.
    EXPECT_EQ(accounting.queryCount(JobObjectBasicProcessIdList), 0U);
    EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

Texts gSteps;  ///< of the end of a run
const RecordedStarts* gStarts = nullptr;
decltype(&WaitForSingleObject) gWait = nullptr;
decltype(&DeleteFileW) gDelete = nullptr;

DWORD WINAPI wait(HANDLE handle, DWORD timeout) {
    if (!gStarts->calls().empty() && handle == gStarts->last().process.hProcess) {
        gSteps.emplace_back(timeout == INFINITE ? "wait for the end" : "wait for a time");
    }
    return gWait(handle, timeout);
}

BOOL WINAPI deleteFile(LPCWSTR file) {
    gSteps.emplace_back("delete");
    return gDelete(file);
}

TEST_F(ExecLaunchJobTest, ARuleThatCannotBeReadEndsTheAlternateThatWasStarted) {
    mExec->setStallRules({{"missing-program", 1000}, {"(", 1000}});
    Exec::RunInfo info;
    info.mDirectArgv = {"missing-program"};
    info.mAlternateArgv = {execChild("make \"" + mFolder.utf8("made") + "\" sleep 60000")};
    const RecordedStarts starts({}, [] { gSteps.clear(); });
    gStarts = &starts;
    {
        const ReplacedCall<decltype(WaitForSingleObject)> waiting("WaitForSingleObject", &wait);
        gWait = waiting.original();
        const ReplacedCall<decltype(DeleteFileW)> deleting("DeleteFileW", &deleteFile);
        gDelete = deleting.original();
        EXPECT_THROW(mExec->run(info), std::runtime_error);
    }
    ASSERT_EQ(starts.calls().size(), 2U);
    // The child has the files open until its end.
    EXPECT_EQ(gSteps, Texts({"wait for the end", "delete", "delete"}));
    EXPECT_TRUE(testing_support::ends(starts.last().process.dwProcessId));
    EXPECT_FALSE(exists(mFolder.path() / "made"));
}

TEST_F(ExecLaunchJobTest, ARuleThatCannotBeReadIsThrownBeforeTheStart) {
    mExec->setStallRules({{"(", 1000}});
    const RecordedStarts starts;
    EXPECT_THROW(mExec->run(execChild()), std::runtime_error);
    EXPECT_TRUE(starts.calls().empty());
}

}  // namespace
