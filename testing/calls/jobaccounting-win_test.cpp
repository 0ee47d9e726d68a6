#include "testing/calls/jobaccounting-win.h"

#include <filesystem>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/eventually.h"
#include "testing/processes/startedchild-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/underwine-win.h"

namespace {

using namespace testing_support;

constexpr JOBOBJECTINFOCLASS accountingClass = JobObjectBasicAndIoAccountingInformation;

class Job {
public:
    Job() : mHandle(CreateJobObjectW(nullptr, nullptr)) {}
    ~Job() {
        TerminateJobObject(mHandle, 1);
        CloseHandle(mHandle);
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    HANDLE get() const { return mHandle; }

private:
    HANDLE mHandle;
};

struct Totals {
    LONGLONG time = -1;
    ULONGLONG reads = 0;
    ULONGLONG writes = 0;
    bool operator==(const Totals&) const = default;
};

void PrintTo(const Totals& totals, std::ostream* out) {
    *out << totals.time << ' ' << totals.reads << ' ' << totals.writes;
}

[[gnu::noinline]] bool query(HANDLE job, JOBOBJECTINFOCLASS what, void* buffer, DWORD size,
                             DWORD* returned = nullptr) {
    return QueryInformationJobObject(job, what, buffer, size, returned) != 0;
}

Totals totals(const Job& job) {
    JobAccounting::Figures figures;
    if (!query(job.get(), accountingClass, &figures, sizeof figures)) {
        ADD_FAILURE() << "error " << GetLastError();
        return {};
    }
    return {figures.BasicInfo.TotalUserTime.QuadPart + figures.BasicInfo.TotalKernelTime.QuadPart,
            figures.IoInfo.ReadOperationCount, figures.IoInfo.WriteOperationCount};
}

/// Points at which a child waits until it is released.
class Stops {
public:
    std::vector<std::string> stop(const std::string& name) const {
        return {"make", mFolder.utf8(name), "await-gone", mFolder.utf8(name)};
    }
    bool isAt(const std::string& name) const {
        return eventually([&] { return exists(mFolder.path() / name); });
    }
    void letGo(const std::string& name) const { std::filesystem::remove(mFolder.path() / name); }
    std::string file(const std::string& name) const { return mFolder.utf8(name); }

private:
    TempFolder mFolder;
};

std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> parts) {
    std::vector<std::string> all;
    for (const std::vector<std::string>& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class JobAccountingTest : public testing::Test {
protected:
    /// Returns the job's totals before and after the child has done the work.
    std::pair<Totals, Totals> aroundWork(const std::vector<std::string>& work) {
        const StartedChild child(
            {.actions = joined({stops.stop("before"), work, stops.stop("after")}),
             .job = job.get()});
        EXPECT_TRUE(stops.isAt("before"));
        const Totals before = totals(job);
        stops.letGo("before");
        EXPECT_TRUE(stops.isAt("after"));
        return {before, totals(job)};
    }

    JobAccounting accounting;
    Stops stops;
    Job job;
};

TEST_F(JobAccountingTest, ComputingIsProcessorTimeAndNoInputOrOutput) {
    const auto [before, after] = aroundWork({"burn", "50"});
    EXPECT_GE(after.time - before.time, 500000);
    EXPECT_EQ(after.reads, before.reads);
    EXPECT_EQ(after.writes, before.writes);
}

TEST_F(JobAccountingTest, InputAndOutputIsCounted) {
    const auto [before, after] = aroundWork({"io", "50", stops.file("data")});
    EXPECT_GT(after.reads, before.reads);
    EXPECT_GT(after.writes, before.writes);
}

TEST_F(JobAccountingTest, InputAndOutputIsNoProcessorTimeWhereChildrenReportFigures) {
    if (!isUnderWine()) {
        GTEST_SKIP() << "the system has figures, and input and output take some processor time";
    }
    const auto [before, after] = aroundWork({"io", "50", stops.file("data")});
    EXPECT_EQ(after.time, before.time);
}

TEST_F(JobAccountingTest, ASleepingChildChangesNothing) {
    const StartedChild child(
        {.actions = {"burn", "20", "say", "x", "make", stops.file("ready"), "sleep", "60000"},
         .job = job.get()});
    ASSERT_TRUE(stops.isAt("ready"));
    Sleep(200);
    const Totals first = totals(job);
    Sleep(3000);
    EXPECT_EQ(totals(job), first);
}

TEST_F(JobAccountingTest, TheTotalsAreThoseOfAllChildren) {
    const StartedChild one(
        {.actions = joined({{"out", "30", "1"}, stops.stop("one")}), .job = job.get()});
    ASSERT_TRUE(stops.isAt("one"));
    const Totals ofOne = totals(job);
    const StartedChild two(
        {.actions = joined({{"out", "40", "1"}, stops.stop("two")}), .job = job.get()});
    ASSERT_TRUE(stops.isAt("two"));
    EXPECT_GE(ofOne.writes, 30U);
    EXPECT_GE(totals(job).writes, ofOne.writes + 40);
}

TEST_F(JobAccountingTest, AGrandchildCounts) {
    const StartedChild child(
        {.actions = joined({{"spawn", "io", "50", stops.file("data")}, stops.stop("there")}),
         .job = job.get()});
    ASSERT_TRUE(stops.isAt("there"));
    EXPECT_EQ(child.wait(), 0U);
    EXPECT_GT(totals(job).writes, 0U);
}

TEST_F(JobAccountingTest, AChildOutsideTheJobDoesNotCount) {
    const Job other;
    const StartedChild child(
        {.actions = joined({{"out", "30", "1"}, stops.stop("there")}), .job = other.get()});
    ASSERT_TRUE(stops.isAt("there"));
    EXPECT_GE(totals(other).writes, 30U);
    EXPECT_EQ(totals(job), (Totals{0, 0, 0}));
}

TEST_F(JobAccountingTest, WhatAChildHasDoneStaysAfterItsEnd) {
    const StartedChild child(
        {.actions = joined({{"burn", "20", "out", "30", "1"}, stops.stop("done")}),
         .job = job.get()});
    ASSERT_TRUE(stops.isAt("done"));
    const Totals before = totals(job);
    stops.letGo("done");
    child.wait();
    EXPECT_GE(totals(job).time, before.time);
    EXPECT_GE(totals(job).writes, before.writes);
}

TEST_F(JobAccountingTest, TheNextQueriesOfAClassFailAsRequested) {
    accounting.failNext(accountingClass, ERROR_ACCESS_DENIED);
    accounting.failNext(accountingClass, ERROR_NOT_READY);
    JOBOBJECT_BASIC_PROCESS_ID_LIST list;
    EXPECT_TRUE(query(job.get(), JobObjectBasicProcessIdList, &list, sizeof list));
    JobAccounting::Figures figures;
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_NOT_READY}) {
        EXPECT_FALSE(query(job.get(), accountingClass, &figures, sizeof figures));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_TRUE(query(job.get(), accountingClass, &figures, sizeof figures));
}

TEST_F(JobAccountingTest, FixedFiguresAreTheAnswer) {
    JobAccounting::Figures fixed{};
    fixed.BasicInfo.TotalUserTime.QuadPart = 12;
    fixed.IoInfo.OtherOperationCount = 34;
    accounting.setFixed(fixed);
    JobAccounting::Figures figures{};
    DWORD returned = 0;
    ASSERT_TRUE(query(job.get(), accountingClass, &figures, sizeof figures, &returned));
    EXPECT_EQ(figures.BasicInfo.TotalUserTime.QuadPart, 12);
    EXPECT_EQ(figures.IoInfo.OtherOperationCount, 34U);
    EXPECT_EQ(returned, sizeof figures);
}

TEST_F(JobAccountingTest, QueriesAreCounted) {
    EXPECT_EQ(accounting.queryCount(accountingClass), 0U);
    accounting.failNext(accountingClass, ERROR_ACCESS_DENIED);
    JobAccounting::Figures figures;
    query(job.get(), accountingClass, &figures, sizeof figures);
    query(job.get(), accountingClass, &figures, sizeof figures);
    EXPECT_EQ(accounting.queryCount(accountingClass), 2U);
    EXPECT_EQ(accounting.queryCount(JobObjectBasicProcessIdList), 0U);
}

TEST_F(JobAccountingTest, WhatIsNoJobOrNoRoomIsAnError) {
    JobAccounting::Figures figures;
    EXPECT_FALSE(query(GetCurrentProcess(), accountingClass, &figures, sizeof figures));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_FALSE(query(job.get(), accountingClass, &figures, sizeof figures - 1));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_LENGTH});
}

TEST_F(JobAccountingTest, ASecondOneIsRefusedAndTheFirstStays) {
    EXPECT_THROW(static_cast<void>(JobAccounting()), std::logic_error);
    totals(job);
    EXPECT_EQ(accounting.queryCount(accountingClass), 1U);
}

}  // namespace
