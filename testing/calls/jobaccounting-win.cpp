#include "testing/calls/jobaccounting-win.h"

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <vector>

#include "testing/children/childobjects.h"
#include "testing/ownedhandle-win.h"

namespace testing_support {
namespace {

JobAccounting* gJobAccounting = nullptr;

struct ViewCloser {
    void operator()(const ChildCounters* view) const { UnmapViewOfFile(view); }
};
using View = std::unique_ptr<const ChildCounters, ViewCloser>;

View countersOf(ULONG_PTR pid) {
    const OwnedHandle mapping(
        OpenFileMappingW(FILE_MAP_READ, /*bInheritHandle=*/FALSE,
                         childCountersName(static_cast<unsigned long>(pid)).c_str()));
    return View(mapping == nullptr ? nullptr
                                   : static_cast<const ChildCounters*>(
                                         MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0)));
}

}  // namespace

JobAccounting::JobAccounting() : mReplaced("QueryInformationJobObject", &JobAccounting::query) {
    if (gJobAccounting != nullptr) {
        throw std::logic_error("there is a JobAccounting already");
    }
    gJobAccounting = this;
}

JobAccounting::~JobAccounting() { gJobAccounting = nullptr; }

void JobAccounting::failNext(JOBOBJECTINFOCLASS what, DWORD error) {
    const std::lock_guard lock(mLock);
    mFailures.emplace(what, error);
}

void JobAccounting::setFixed(const Figures& figures) {
    const std::lock_guard lock(mLock);
    mFixed = figures;
}

size_t JobAccounting::queryCount(JOBOBJECTINFOCLASS what) const {
    const std::lock_guard lock(mLock);
    const auto found = mQueryCounts.find(what);
    return found == mQueryCounts.end() ? 0 : found->second;
}

BOOL WINAPI JobAccounting::query(HANDLE job, JOBOBJECTINFOCLASS what, LPVOID buffer, DWORD size,
                                 LPDWORD returned) {
    JobAccounting& self = *gJobAccounting;
    if (const auto error = self.note(what)) {
        SetLastError(*error);
        return FALSE;
    }
    if (what != JobObjectBasicAndIoAccountingInformation) {
        return self.mReplaced.original()(job, what, buffer, size, returned);
    }
    if (size != sizeof(Figures)) {
        SetLastError(ERROR_BAD_LENGTH);
        return FALSE;
    }
    if (!self.account(job, *static_cast<Figures*>(buffer))) {
        return FALSE;
    }
    if (returned != nullptr) {
        *returned = sizeof(Figures);
    }
    return TRUE;
}

std::optional<DWORD> JobAccounting::note(JOBOBJECTINFOCLASS what) {
    const std::lock_guard lock(mLock);
    ++mQueryCounts[what];
    const auto failure = mFailures.lower_bound(what);
    if (failure == mFailures.end() || failure->first != what) {
        return std::nullopt;
    }
    const DWORD error = failure->second;
    mFailures.erase(failure);
    return error;
}

bool JobAccounting::account(HANDLE job, Figures& figures) {
    const std::lock_guard lock(mLock);
    if (mFixed) {
        figures = *mFixed;
        return true;
    }
    if (mReplaced.original()(job, JobObjectBasicAndIoAccountingInformation, &figures,
                             sizeof figures, nullptr)) {
        return true;
    }
    if (!lookAtProcesses(job)) {
        return false;
    }
    figures = {};
    for (const auto& [key, work] : mSeen) {
        if (std::get<HANDLE>(key) == job) {
            figures.BasicInfo.TotalUserTime.QuadPart += work.userTime;
            figures.BasicInfo.TotalKernelTime.QuadPart += work.kernelTime;
            figures.IoInfo.ReadOperationCount += work.reads;
            figures.IoInfo.WriteOperationCount += work.writes;
        }
    }
    return true;
}

bool JobAccounting::lookAtProcesses(HANDLE job) {
    std::vector<std::byte> buffer(1 << 12);
    while (!mReplaced.original()(job, JobObjectBasicProcessIdList, buffer.data(),
                                 static_cast<DWORD>(buffer.size()), nullptr)) {
        if (GetLastError() != ERROR_MORE_DATA) {
            return false;
        }
        buffer.resize(buffer.size() * 2);
    }
    const auto* list = reinterpret_cast<const JOBOBJECT_BASIC_PROCESS_ID_LIST*>(buffer.data());
    for (DWORD at = 0; at < list->NumberOfProcessIdsInList; ++at) {
        const ULONG_PTR pid = list->ProcessIdList[at];
        if (const View view = countersOf(pid)) {
            mSeen[{job, pid, view->stamp}] = {static_cast<LONGLONG>(view->userTime),
                                              static_cast<LONGLONG>(view->kernelTime), view->reads,
                                              view->writes};
        }
    }
    return true;
}

}  // namespace testing_support
