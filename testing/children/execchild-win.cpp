// A child that performs the actions of its arguments, from left to right. Text is written as UTF-8,
// untranslated, and without a line end unless lines are mentioned.
//
//     out COUNT PIECE         COUNT bytes "abc...zabc..." to standard output, PIECE bytes a write
//     err COUNT PIECE         the same to standard error
//     say TEXT                the text to standard output (say16: as UTF-16LE)
//     complain TEXT           the text to standard error (complain16: as UTF-16LE)
//     copy                    standard input to standard output, to its end
//     sleep MS                sleeps
//     burn MS                 computes until its processor time has grown by MS
//     io MS FILE              writes and reads the file for MS, and sleeps after each round
//     make FILE               makes an empty file
//     await FILE              waits until the file exists
//     await-gone FILE         waits until the file doesn't exist
//     pid FILE                writes its process id to the file, which is never seen half written
//     variable NAME           the environment variable, or "(not set)"
//     environment             each entry of the environment block on a line
//     folder                  the current directory
//     handles                 a line each for standard input, output and error: "disk" and the
//                             position, "pipe", "char" or "unknown"; then "same file", "different
//                             files" or "no files", for standard output and error
//     ignore-break            from now on, a break has no effect
//     spawn ACTIONS...        starts itself with these actions, without standard handles and
//                             without a console, and ends
//     spawn-and N ACTIONS...  the same with the next N arguments, and goes on after them
//     arguments               the whole command line as received, and ends
//     exit CODE               ends with this exit code, decimal (also negative) or hexadecimal
//                             after 0x
//
// Otherwise it ends with 0. It ends with 120 and a line on standard error if it can't understand an
// action, and with 121 and a line if it can't perform one.
//
// A break comes from the console, or as an event (see childBreakName). The event is checked at each
// action and all the time while the child waits, computes or writes. The child reports what counts
// as work: see ChildCounters.

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "testing/children/childobjects.h"
#include "testing/children/childruntime-win.h"
#include "testing/processes/quotedargument.h"

namespace {

using namespace child;

ULONGLONG number(const wchar_t* text) {
    const bool isHex = text[0] == L'0' && (text[1] == L'x' || text[1] == L'X');
    const wchar_t* digits = isHex ? text + 2 : text;
    wchar_t* rest = nullptr;
    const auto value = static_cast<ULONGLONG>(std::wcstoll(digits, &rest, isHex ? 16 : 10));
    if (rest == digits || *rest != L'\0') {
        fail(notUnderstood, std::wstring(L"no number: ").append(text));
    }
    return value;
}

void writePattern(DWORD stream, size_t count, size_t piece) {
    constexpr size_t period = 26;
    if (piece == 0) {
        fail(notUnderstood, L"pieces of nothing");
    }
    std::string pattern(std::min(count, piece) + period, '\0');
    for (size_t at = 0; at < pattern.size(); ++at) {
        pattern[at] = static_cast<char>('a' + at % period);
    }
    HANDLE file = GetStdHandle(stream);
    for (size_t done = 0; done < count; done += piece) {
        write(file, pattern.data() + done % period, std::min(piece, count - done));
    }
}

void copy() {
    std::vector<char> buffer(1 << 16);
    while (const size_t count =
               read(GetStdHandle(STD_INPUT_HANDLE), buffer.data(), buffer.size())) {
        write(GetStdHandle(STD_OUTPUT_HANDLE), buffer.data(), count);
    }
}

ULONGLONG joined(FILETIME time) {
    return ULONGLONG{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

/// Returns the processor time so far, in units of 100 ns, and reports it in the counters.
ULONGLONG countTimes() {
    FILETIME ignored;
    FILETIME kernel;
    FILETIME user;
    require(GetProcessTimes(GetCurrentProcess(), &ignored, &ignored, &kernel, &user) != 0,
            L"times");
    counters().kernelTime = joined(kernel);
    counters().userTime = joined(user);
    return joined(kernel) + joined(user);
}

void burn(ULONGLONG milliseconds) {
    const ULONGLONG end = countTimes() + milliseconds * 10000;
    while (countTimes() < end) {
        pause(0);
        for (volatile int turns = 100000; turns != 0;) {
            const int left = turns - 1;
            turns = left;
        }
    }
}

void writeAndRead(ULONGLONG milliseconds, const wchar_t* path) {
    char buffer[8] = "content";
    const ULONGLONG start = GetTickCount64();
    HANDLE file = createFile(path);
    do {
        SetFilePointer(file, 0, nullptr, FILE_BEGIN);
        write(file, buffer, sizeof buffer);
        SetFilePointer(file, 0, nullptr, FILE_BEGIN);
        read(file, buffer, sizeof buffer);
        pause(10);
    } while (GetTickCount64() - start < milliseconds);
    CloseHandle(file);
}

void awaitFile(const wchar_t* path, bool isAwaited) {
    while ((GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES) != isAwaited) {
        pause(2);
    }
}

void writePid(const std::wstring& path) {
    const std::wstring temporary = path + L".new";
    const std::string text = std::to_string(GetCurrentProcessId());
    HANDLE file = createFile(temporary);
    write(file, text.data(), text.size());
    CloseHandle(file);
    require(MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0,
            path.c_str());
}

void printVariable(const wchar_t* name) {
    SetLastError(ERROR_SUCCESS);
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    if (GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
        print(L"(not set)");
        return;
    }
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    print(value);
}

void printEnvironment() {
    std::wstring lines;
    for (const wchar_t* entry = GetEnvironmentStringsW(); *entry != L'\0';
         entry += std::wcslen(entry) + 1) {
        lines.append(entry).append(1, L'\n');
    }
    print(lines);
}

void printFolder() {
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    print(folder);
}

std::wstring kindOf(HANDLE handle) {
    switch (GetFileType(handle)) {
        case FILE_TYPE_DISK: {
            LARGE_INTEGER position{};
            SetFilePointerEx(handle, LARGE_INTEGER{}, &position, FILE_CURRENT);
            return L"disk " + std::to_wstring(position.QuadPart);
        }
        case FILE_TYPE_PIPE:
            return L"pipe";
        case FILE_TYPE_CHAR:
            return L"char";
        default:
            return L"unknown";
    }
}

const wchar_t* comparedFiles(HANDLE one, HANDLE other) {
    BY_HANDLE_FILE_INFORMATION a;
    BY_HANDLE_FILE_INFORMATION b;
    if (!GetFileInformationByHandle(one, &a) || !GetFileInformationByHandle(other, &b)) {
        return L"no files";
    }
    const bool isSame = a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
                        a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
    return isSame ? L"same file" : L"different files";
}

void printHandles() {
    HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    std::wstring lines = kindOf(GetStdHandle(STD_INPUT_HANDLE)) + L'\n';
    lines.append(kindOf(output)).append(1, L'\n');
    lines.append(kindOf(error)).append(1, L'\n');
    lines.append(comparedFiles(output, error)).append(1, L'\n');
    print(lines);
}

void spawn(const wchar_t* const* first, const wchar_t* const* last) {
    std::vector<wchar_t> program(32768);
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    std::wstring line = L"execchild";
    for (; first != last; ++first) {
        line += L' ';
        testing_support::appendQuoted(line, *first);
    }
    // STARTF_USESTDHANDLES: otherwise console programs would get their parent's handles.
    // DETACHED_PROCESS: otherwise, if their parent has no console, they would get a new one, and
    // its server with it.
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    PROCESS_INFORMATION process{};
    require(CreateProcessW(program.data(), line.data(), nullptr, nullptr, /*bInheritHandles=*/FALSE,
                           DETACHED_PROCESS, nullptr, nullptr, &startup, &process) != 0,
            L"spawn");
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

struct Action {
    const wchar_t* name;
    int argumentCount;
    void (*perform)(const wchar_t* const* arguments);
};

using Arguments = const wchar_t* const*;

constexpr Action knownActions[] = {
    {L"out", 2, [](Arguments a) { writePattern(STD_OUTPUT_HANDLE, number(a[0]), number(a[1])); }},
    {L"err", 2, [](Arguments a) { writePattern(STD_ERROR_HANDLE, number(a[0]), number(a[1])); }},
    {L"say", 1, [](Arguments a) { print(a[0]); }},
    {L"say16", 1, [](Arguments a) { printUtf16(a[0], STD_OUTPUT_HANDLE); }},
    {L"complain", 1, [](Arguments a) { print(a[0], STD_ERROR_HANDLE); }},
    {L"complain16", 1, [](Arguments a) { printUtf16(a[0], STD_ERROR_HANDLE); }},
    {L"copy", 0, [](Arguments) { copy(); }},
    {L"sleep", 1, [](Arguments a) { pause(static_cast<DWORD>(number(a[0]))); }},
    {L"burn", 1, [](Arguments a) { burn(number(a[0])); }},
    {L"io", 2, [](Arguments a) { writeAndRead(number(a[0]), a[1]); }},
    {L"make", 1, [](Arguments a) { CloseHandle(createFile(a[0])); }},
    {L"await", 1, [](Arguments a) { awaitFile(a[0], true); }},
    {L"await-gone", 1, [](Arguments a) { awaitFile(a[0], false); }},
    {L"pid", 1, [](Arguments a) { writePid(a[0]); }},
    {L"variable", 1, [](Arguments a) { printVariable(a[0]); }},
    {L"environment", 0, [](Arguments) { printEnvironment(); }},
    {L"folder", 0, [](Arguments) { printFolder(); }},
    {L"handles", 0, [](Arguments) { printHandles(); }},
    {L"ignore-break", 0, [](Arguments) { ignoreBreaks(); }},
    {L"arguments", 0,
     [](Arguments) {
         print(GetCommandLineW());
         end(0);
     }},
    {L"exit", 1, [](Arguments a) { end(static_cast<UINT>(number(a[0]))); }},
};

/// Performs the first action and returns the position of the next one.
Arguments perform(Arguments first, Arguments last) {
    pause(0);
    const std::wstring name = *first++;
    const auto available = static_cast<size_t>(last - first);
    if (name == L"spawn") {
        spawn(first, last);
        return last;
    }
    if (name == L"spawn-and" && available > 0 && number(*first) < available) {
        Arguments rest = first + 1 + number(*first);
        spawn(first + 1, rest);
        return rest;
    }
    for (const Action& action : knownActions) {
        if (name == action.name && available >= static_cast<size_t>(action.argumentCount)) {
            action.perform(first);
            return first + action.argumentCount;
        }
    }
    fail(notUnderstood, L"can't understand " + name);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    Arguments next = arguments + 1;
    while (next < arguments + count) {
        next = perform(next, arguments + count);
    }
    return 0;
}
