#include "util/windows/exec/wait-win.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <locale>
#include <memory>
#include <span>
#include <sstream>
#include <string_view>

#include "util/assertion.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec/processnames-win.h"

namespace {

/// Closes the dialog in which a 16-bit program may hang, if there is one.
void dismissNtvdmDialog() {
    HWND dialog = FindWindowA(/*lpClassName=*/nullptr, "16 bit MS-DOS Subsystem");
    if (dialog == nullptr) {
        dialog = FindWindowA(/*lpClassName=*/nullptr, "ntvdm.exe - System Error");
    }
    if (dialog != nullptr) {
        constexpr int button = 1;
        SendDlgItemMessageA(dialog, button, BM_CLICK, /*wParam=*/0, /*lParam=*/0);
    }
}

/// Milliseconds that an aborted process has to end by itself.
constexpr int32_t endGrace = 1500;

/// Servers of the tool chain, and of its console, which outlive a command by design.
bool isLingeringServer(std::wstring_view name) {
    constexpr auto servers = std::to_array<std::wstring_view>(
        {L"mspdbsrv.exe", L"vctip.exe", L"VBCSCompiler.exe", L"conhost.exe"});
    return std::any_of(servers.begin(), servers.end(), [name](std::wstring_view server) {
        return name.find(server) != std::wstring_view::npos;
    });
}

/// The processes of a job, in a buffer on the stack as long as that is large enough.
class ProcessList {
public:
    explicit ProcessList(uint32_t size) : mSize(size) {}
    ProcessList(const ProcessList&) = delete;
    ProcessList& operator=(const ProcessList&) = delete;

    /// Returns false on failure, with the error in GetLastError; the list is then empty.
    bool query(const ScopedHandle& job);
    std::span<const ULONG_PTR> ids() const { return mIds; }

private:
    struct Freer {
        void operator()(void* memory) const { std::free(memory); }
    };

    uint32_t mSize;  ///< bytes; at first at most those of `mStack`
    alignas(JOBOBJECT_BASIC_PROCESS_ID_LIST) std::array<std::byte, Exec::largestPidBuffer> mStack;
    std::unique_ptr<void, Freer> mHeap;
    std::span<const ULONG_PTR> mIds;
};

bool ProcessList::query(const ScopedHandle& job) {
    void* pids = mHeap != nullptr ? mHeap.get() : mStack.data();
    while (!queryJob(job, JobObjectBasicProcessIdList, pids, mSize)) {
        if (GetLastError() != ERROR_MORE_DATA) {
            mIds = {};
            return false;
        }
        mSize *= 2;
        pids = std::malloc(mSize);
        NB_ASSERT_AS(pids != nullptr, "pids != 0");
        mHeap.reset(pids);
    }
    const auto* list = static_cast<const JOBOBJECT_BASIC_PROCESS_ID_LIST*>(pids);
    mIds = {list->ProcessIdList, list->NumberOfProcessIdsInList};
    return true;
}

}  // namespace

bool queryJob(const ScopedHandle& job, JOBOBJECTINFOCLASS what, void* answer, DWORD size) {
    if (!job.isOpen()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    return QueryInformationJobObject(job.get(), what, answer, size,
                                     /*lpReturnLength=*/nullptr) != FALSE;
}

bool Exec::waitProcessExit(HANDLE process, uint32_t pid, const char* command,
                           std::string* failureText, bool* stalled,
                           const std::string& workingDirectory, const char* environment,
                           void* passThrough) {
    *stalled = false;
    Wait wait{process,          pid,         command,     failureText,       stalled,
              workingDirectory, environment, passThrough, /*reported=*/false};
    std::ostringstream complaint;
    complaint.imbue(std::locale::classic());
    const ScopedHandle ntvdm(getNtvdm(pid, complaint));
    addToLog(complaint.str());
    int32_t grace = endGrace;
    for (;;) {
        const DWORD result = WaitForSingleObject(process, wakeInterval);
        if (result == WAIT_OBJECT_0) {
            if (ntvdm.isOpen()) {
                TerminateProcess(ntvdm.get(), /*uExitCode=*/0);
            }
            return true;
        }
        if (result == WAIT_FAILED) {
            reportWithLastError("Exec::waitProcessExit got error waiting for process to exit",
                                failureText);
            return false;
        }
        if (mAborted || *stalled) {
            grace -= wakeInterval;
            if (grace <= 0) {
                return endByForce(wait, ntvdm.get());
            }
        } else if (!mJobPattern.empty()) {
            superviseJob(wait);
        }
    }
}

/// Ends a process that didn't exit by itself. Returns false if the wait for its end fails.
bool Exec::endByForce(const Wait& wait, HANDLE ntvdm) {
    std::string line = "\tExec::waitProcessExit: child ";
    addToLog(line.append(std::to_string(wait.pid))
                 .append(" didn't exit (")
                 .append(wait.command)
                 .append(")\n"));
    if (ntvdm != INVALID_HANDLE_VALUE) {
        dismissNtvdmDialog();
        TerminateProcess(ntvdm, /*uExitCode=*/1);
        return true;
    }
    TerminateProcess(wait.process, /*uExitCode=*/1);
    if (WaitForSingleObject(wait.process, INFINITE) == WAIT_FAILED) {
        reportWithLastError("Exec::waitProcessExit got error waiting for aborted process to exit",
                            wait.failureText);
        return false;
    }
    return true;
}

void Exec::waitChildren(const char* command, std::string* failureText) {
    // Compatibility: a process that can't be opened or named makes the passes spin until it is
    // gone, so the run doesn't end before it.
    ProcessList list(mPidBufferSize);
    for (;;) {
        if (!list.query(mJob)) {
            reportWithLastError("Exec::waitChildren got error from QueryInformationJobObject",
                                failureText);
        }
        if (list.ids().empty()) {
            return;
        }
        size_t ignored = 0;
        for (const ULONG_PTR id : list.ids()) {
            ignored += waitLeftover(static_cast<uint32_t>(id), command, failureText) ? 0 : 1;
        }
        if (ignored == list.ids().size()) {
            return;
        }
    }
}

/// Waits for a process that the command left behind. Returns false if it is a server that stays.
bool Exec::waitLeftover(uint32_t id, const char* command, std::string* failureText) {
    // PROCESS_ALL_ACCESS as it was before Windows 6.0; since then it has more bits.
    constexpr DWORD allAccess = 0x1f0fff;
    const ScopedHandle process(OpenProcess(allAccess, /*bInheritHandle=*/FALSE, id));
    if (!process.isOpen()) {
        return true;  // It has ended.
    }
    ProcessName name{};
    processImageName(process.get(), name.data());
    if (name.front() == L'\0') {
        return true;
    }
    if (isLingeringServer(name.data())) {
        return false;
    }
    const std::string text = toUtf8(name.data());
    if (!text.empty()) {
        std::string line = "\tExec::waitChildren: waiting for process ";
        addToLog(line.append(text).append(" for command ").append(command).append(1, '\n'));
    }
    bool stalled = false;
    // A failure of this wait is in `failureText`; a stall of the leftover changes nothing.
    static_cast<void>(waitProcessExit(process.get(), id, command, failureText, &stalled,
                                      /*workingDirectory=*/".", /*environment=*/nullptr,
                                      /*passThrough=*/nullptr));
    return true;
}
