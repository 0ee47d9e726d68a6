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
    AppendTurn::Scope turn(*mTurn);
    if (lacksLastLineFeed()) {
        turn.setTorn(true);
    }
    return {};
}

bool ProcessSurroundings::lacksLastLineFeed() const {
    // Another kind of file, such as a pipe, would be opened once more.
    LARGE_INTEGER size;
    if (GetFileType(mFile.get()) != FILE_TYPE_DISK || !GetFileSizeEx(mFile.get(), &size) ||
        size.QuadPart == 0) {
        return false;
    }
    // The journal may be one that may be appended to but not read. Then it is taken for whole.
    ScopedHandle file(CreateFileW(
        mName.c_str(), FILE_READ_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, /*dwFlagsAndAttributes=*/0,
        /*hTemplateFile=*/nullptr));
    char last = 0;
    DWORD count = 0;
    const LARGE_INTEGER place = {.QuadPart = size.QuadPart - 1};
    return file.isOpen() && SetFilePointerEx(file.get(), place, nullptr, FILE_BEGIN) &&
           ReadFile(file.get(), &last, 1, &count, /*lpOverlapped=*/nullptr) && count == 1 &&
           last != '\n';
}

std::string ProcessSurroundings::write(std::string_view text) {
    AppendTurn::Scope turn(*mTurn);
    // What is left of a line, on a full disk for instance, is a line of its own.
    const std::string afterPart = turn.isTorn() ? '\n' + std::string(text) : std::string();
    const std::string_view whole = afterPart.empty() ? text : afterPart;
    DWORD written = 0;
    if (WriteFile(mFile.get(), whole.data(), static_cast<DWORD>(whole.size()), &written,
                  /*lpOverlapped=*/nullptr) &&
        written == whole.size()) {
        turn.setTorn(false);
        return {};
    }
    const DWORD error = GetLastError();
    if (written != 0) {
        turn.setTorn(whole[written - 1] != '\n');
    }
    return win32ErrorText("WriteFile", static_cast<int>(error));
}

void ProcessSurroundings::close() {
    mTurn.reset();
    mFile.release();
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
    std::string failure = write(text);
    if (!failure.empty()) {
        // The handle of a share that was disconnected, for instance, never works again.
        close();
    }
    return failure;
}

void ProcessSurroundings::complain(const std::string& problem) {
    const std::string name = toUtf8(mName);
    std::cerr << "nbclearcase_journal:  can't write '" + name + "': " + problem +
                     "; the calls go on without the journal; name another file by "
                     "NBCLEARCASE_JOURNAL_FILE\n";
}

}  // namespace journal
