#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <windows.h>

#include "testing/children/childobjects.h"

/// The functions that the actions of execchild are built on.
namespace child {

/// Exit codes.
constexpr UINT notUnderstood = 120;
constexpr UINT notDone = 121;

[[noreturn]] void end(UINT code);
/// Prints a line to standard error and ends the process.
[[noreturn]] void fail(UINT code, const std::wstring& words);
/// Unless `isDone`, ends the process with notDone and prints `what` and the last error.
void require(bool isDone, const wchar_t* what);

/// Sleeps. A break ends the process, even one that came before the call.
void pause(DWORD milliseconds);
/// From now on, a break has no effect.
void ignoreBreaks();

testing_support::ChildCounters& counters();

/// These count each read and write. `stream` is an id as for GetStdHandle.
size_t read(HANDLE file, char* buffer, size_t size);
void write(HANDLE file, const char* bytes, size_t size);
void print(std::wstring_view text, DWORD stream = STD_OUTPUT_HANDLE);
void printUtf16(std::wstring_view text, DWORD stream);

/// Creates a file, or empties an existing one. Others may open it in any way.
HANDLE createFile(const std::wstring& path);

}  // namespace child
