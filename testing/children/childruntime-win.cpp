#include "testing/children/childruntime-win.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace child {
namespace {

constexpr UINT breakCode = 0xC000013A;  // the exit code of a process that Windows ends at a break

bool gIgnoresBreaks = false;

BOOL WINAPI onConsoleEvent(DWORD event) { return event == CTRL_BREAK_EVENT; }

std::string utf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(static_cast<size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr)));
    return narrow;
}

bool isBreakWithin(ULONGLONG milliseconds) {
    static HANDLE const event = [] {
        HANDLE made = CreateEventW(nullptr, /*bManualReset=*/FALSE, /*bInitialState=*/FALSE,
                                   testing_support::childBreakName(GetCurrentProcessId()).c_str());
        require(made != nullptr, L"break event");
        return made;
    }();
    return WaitForSingleObject(event, static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
}

}  // namespace

void end(UINT code) {
    ExitProcess(code);
    __builtin_unreachable();
}

void fail(UINT code, const std::wstring& words) {
    const std::string line = utf8(L"execchild: " + words + L'\n');
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()),
              &written, nullptr);
    end(code);
}

void require(bool isDone, const wchar_t* what) {
    if (!isDone) {
        const DWORD error = GetLastError();
        fail(notDone, std::wstring(what).append(L": error ").append(std::to_wstring(error)));
    }
}

void ignoreBreaks() {
    gIgnoresBreaks = true;
    SetConsoleCtrlHandler(&onConsoleEvent, TRUE);
}

void pause(DWORD milliseconds) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    ULONGLONG now = end - milliseconds;
    while (isBreakWithin(end - now)) {
        if (!gIgnoresBreaks) {
            child::end(breakCode);
        }
        now = std::min(GetTickCount64(), end);
    }
}

testing_support::ChildCounters& counters() {
    using namespace testing_support;
    static ChildCounters* const shared = [] {
        HANDLE mapping = CreateFileMappingW(
            INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(ChildCounters),
            testing_support::childCountersName(GetCurrentProcessId()).c_str());
        void* view = MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0);
        require(view != nullptr, L"counters");
        auto* made = static_cast<ChildCounters*>(view);
        LARGE_INTEGER now;
        QueryPerformanceCounter(&now);
        made->stamp = static_cast<uint64_t>(now.QuadPart);
        return made;
    }();
    return *shared;
}

size_t read(HANDLE file, char* buffer, size_t size) {
    DWORD count = 0;
    const bool isRead = ReadFile(file, buffer, static_cast<DWORD>(size), &count, nullptr) != 0;
    require(isRead || GetLastError() == ERROR_BROKEN_PIPE, L"read");
    ++counters().reads;
    return count;
}

void write(HANDLE file, const char* bytes, size_t size) {
    while (size > 0) {
        pause(0);
        DWORD count = 0;
        require(WriteFile(file, bytes, static_cast<DWORD>(size), &count, nullptr) != 0, L"write");
        ++counters().writes;
        bytes += count;
        size -= count;
    }
}

void print(std::wstring_view text, DWORD stream) {
    const std::string bytes = utf8(text);
    write(GetStdHandle(stream), bytes.data(), bytes.size());
}

void printUtf16(std::wstring_view text, DWORD stream) {
    write(GetStdHandle(stream), reinterpret_cast<const char*>(text.data()),
          text.size() * sizeof(wchar_t));
}

HANDLE createFile(const std::wstring& path) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    require(file != INVALID_HANDLE_VALUE, path.c_str());
    return file;
}

}  // namespace child
