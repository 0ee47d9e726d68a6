#include "journal/processsurroundings-win.h"

#include <cerrno>
#include <iostream>

#include <windows.h>

#include "journal/errordialogs-win.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/libraryfunction-win.h"

namespace journal {
namespace {

using GetTime = void WINAPI(FILETIME*);

/// Returns the clock that is precise, or where Windows lacks it, before Windows 8, the one that
/// goes on every 15 ms.
GetTime* preciseTime() {
    static GetTime* const function = [] {
        auto* const precise = findFunction<GetTime>(GetModuleHandleW(L"kernel32.dll"),
                                                    "GetSystemTimePreciseAsFileTime");
        return precise != nullptr ? precise : &GetSystemTimeAsFileTime;
    }();
    return function;
}

}  // namespace

int64_t ProcessSurroundings::clock() {
    // Windows counts units of 100 ns since 1601.
    constexpr int64_t unit = 100;
    constexpr int64_t unixEpoch = 116'444'736'000'000'000;
    FILETIME time;
    preciseTime()(&time);
    const auto units =
        static_cast<int64_t>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    return (units - unixEpoch) * unit;
}

uint32_t ProcessSurroundings::process() { return GetCurrentProcessId(); }
uint32_t ProcessSurroundings::thread() { return GetCurrentThreadId(); }

ErrorNumbers ProcessSurroundings::errors() { return {GetLastError(), errno}; }

void ProcessSurroundings::setErrors(const ErrorNumbers& errors) {
    // The runtime's first: setting it may set the system's.
    errno = errors.ofRuntime;
    SetLastError(errors.ofSystem);
}

std::string ProcessSurroundings::open() {
    *mFile.receive() = CreateFileW(
        mName.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, /*lpSecurityAttributes=*/nullptr,
        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr);
    if (!mFile.isOpen()) {
        return win32ErrorText("CreateFile", static_cast<int>(GetLastError()));
    }
    mTurn.emplace(mFile.get());
    return {};
}

std::string ProcessSurroundings::write(std::string_view text) {
    const AppendTurn::Scope turn(*mTurn);
    DWORD written = 0;
    if (WriteFile(mFile.get(), text.data(), static_cast<DWORD>(text.size()), &written,
                  /*lpOverlapped=*/nullptr) &&
        written == text.size()) {
        mIsTorn = false;
        return {};
    }
    const DWORD error = GetLastError();
    mIsTorn = mIsTorn || written != 0;
    return win32ErrorText("WriteFile", static_cast<int>(error));
}

std::string ProcessSurroundings::append(std::string_view text) {
    const NoErrorDialogs noDialogs;
    const MutexLock lock(mLock);
    if (!mFile.isOpen()) {
        std::string failure = open();
        if (!failure.empty()) {
            return failure;
        }
    }
    // The part of a line that a full disk left is a line of its own.
    return mIsTorn ? write('\n' + std::string(text)) : write(text);
}

void ProcessSurroundings::complain(const std::string& problem) {
    const std::string name = toUtf8(mName);
    std::cerr << "nbclearcase_journal:  can't write '" + name + "': " + problem +
                     "; the calls go on without the journal; name another file by "
                     "NBCLEARCASE_JOURNAL_FILE\n";
}

}  // namespace journal
