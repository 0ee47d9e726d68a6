#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <tuple>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Answers a job's accounting where the system doesn't, as Wine: until the scope ends,
/// QueryInformationJobObject of the test program is asked for
/// JobObjectBasicAndIoAccountingInformation in vain no more. The figures are the system's if it has
/// any, and otherwise the sum of what the processes of the job tell of themselves: those that are
/// execchild (see ChildCounters), each with what was last seen of it even after its end. So a job
/// of which nothing works shows no change at all. Jobs are told apart by their handles.
///
/// One at a time; made and ended while no other thread calls the function.
class JobAccounting {
public:
    using Figures = JOBOBJECT_BASIC_AND_IO_ACCOUNTING_INFORMATION;

    /// Throws std::logic_error if there is one already.
    JobAccounting();
    ~JobAccounting();
    JobAccounting(const JobAccounting&) = delete;
    JobAccounting& operator=(const JobAccounting&) = delete;

    /// The next query of that class fails with that error; several calls add up, in their order.
    void failNext(JOBOBJECTINFOCLASS what, DWORD error);
    /// From now on the accounting is this, for each job.
    void setFixed(const Figures& figures);
    /// How many queries of that class there were, failed ones included.
    size_t queryCount(JOBOBJECTINFOCLASS what) const;

private:
    struct Work {
        LONGLONG userTime;
        LONGLONG kernelTime;
        ULONGLONG reads;
        ULONGLONG writes;
    };
    /// Job, process id and stamp.
    using ProcessKey = std::tuple<HANDLE, ULONG_PTR, ULONGLONG>;

    static BOOL WINAPI query(HANDLE job, JOBOBJECTINFOCLASS what, LPVOID buffer, DWORD size,
                             LPDWORD returned);
    /// Counts the query. The error that it is to fail with, if any.
    std::optional<DWORD> note(JOBOBJECTINFOCLASS what);
    bool account(HANDLE job, Figures& figures);
    bool lookAtProcesses(HANDLE job);

    mutable std::mutex mLock;
    std::map<JOBOBJECTINFOCLASS, size_t> mQueryCounts;
    std::multimap<JOBOBJECTINFOCLASS, DWORD> mFailures;
    std::optional<Figures> mFixed;
    std::map<ProcessKey, Work> mSeen;
    ReplacedCall<decltype(QueryInformationJobObject)> mReplaced;
};

}  // namespace testing_support
