#include "testing/calls/consolebreak-win.h"

#include <stdexcept>
#include <utility>

#include "testing/children/childobjects.h"

namespace testing_support {
namespace {

ConsoleBreaks* gConsoleBreaks = nullptr;

bool hasEnded(HANDLE process) { return WaitForSingleObject(process, 0) != WAIT_TIMEOUT; }

}  // namespace

ConsoleBreaks::ConsoleBreaks() : mReplaced("GenerateConsoleCtrlEvent", &ConsoleBreaks::generate) {
    if (gConsoleBreaks != nullptr) {
        throw std::logic_error("there is a ConsoleBreaks already");
    }
    gConsoleBreaks = this;
}

ConsoleBreaks::~ConsoleBreaks() { gConsoleBreaks = nullptr; }

std::vector<ConsoleBreaks::Call> ConsoleBreaks::calls() const {
    const std::lock_guard lock(mLock);
    return mCalls;
}

BOOL WINAPI ConsoleBreaks::generate(DWORD event, DWORD group) {
    if (!gConsoleBreaks->deliver(event, group)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return TRUE;
}

bool ConsoleBreaks::deliver(DWORD event, DWORD group) {
    const std::lock_guard lock(mLock);
    mCalls.push_back({event, group});
    std::erase_if(mTargets, [](const Target& target) { return hasEnded(target.process.get()); });
    OwnedHandle process(OpenProcess(SYNCHRONIZE, /*bInheritHandle=*/FALSE, group));
    if (process == nullptr || hasEnded(process.get())) {
        return false;
    }
    // If the process hasn't created its event yet, it will open this one.
    OwnedHandle signal(CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/FALSE,
                                    /*bInitialState=*/FALSE, childBreakName(group).c_str()));
    if (signal == nullptr || !SetEvent(signal.get())) {
        return false;
    }
    mTargets.push_back({std::move(process), std::move(signal)});
    return true;
}

}  // namespace testing_support
