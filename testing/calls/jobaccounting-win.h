#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <tuple>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Provides a job's accounting where the system doesn't, as under Wine. Until the scope ends,
/// QueryInformationJobObject answers the test program's queries for
/// JobObjectBasicAndIoAccountingInformation. If the system has figures, they are the result.
/// Otherwise the result is the sum of what the job's processes report about themselves: those that
/// are execchild (see ChildCounters). A process counts with its last known figures even after it
/// has ended. So a job in which no process works shows no change at all. Jobs are distinguished by
/// their handles.
///
/// At most one object at a time. No other thread may call the function while the object is created
/// or destroyed.
class [[nodiscard]] JobAccounting {
public:
    using Figures = JOBOBJECT_BASIC_AND_IO_ACCOUNTING_INFORMATION;

    /// Throws std::logic_error if there already is another object.
    JobAccounting();
    ~JobAccounting();
    JobAccounting(const JobAccounting&) = delete;
    JobAccounting& operator=(const JobAccounting&) = delete;

    /// Makes the next query of that class fail with that error. Several calls apply to successive
    /// queries, in their order.
    void failNext(JOBOBJECTINFOCLASS what, DWORD error);
    /// Makes `figures` the accounting of every job from now on.
    void setFixed(const Figures& figures);
    /// Returns how many queries of that class there were, including failed ones.
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
    /// Counts the query. Returns the error that it is to fail with, if any.
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
