#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <windows.h>

#include "testing/children/childobjects.h"

/// What the actions of execchild stand on.
namespace child {

/// Exit codes.
constexpr UINT NOT_UNDERSTOOD = 120;
constexpr UINT NOT_DONE = 121;

[[noreturn]] void end(UINT code);
/// Ends after a line on standard error.
[[noreturn]] void fail(UINT code, const std::wstring& words);
/// Ends with NOT_DONE and the last error unless `isDone`.
void require(bool isDone, const wchar_t* what);

/// Sleeps, and ends at a break, one that came before included.
void pause(DWORD milliseconds);
/// From here on a break has no effect.
void ignoreBreaks();

testing_support::ChildCounters& counters();

/// These count each read and write. A stream is an id as for GetStdHandle.
size_t read(HANDLE file, char* buffer, size_t size);
void write(HANDLE file, const char* bytes, size_t size);
void print(std::wstring_view text, DWORD stream = STD_OUTPUT_HANDLE);
void printUtf16(std::wstring_view text, DWORD stream);

/// A new file or an empty one, which others may open as they like.
HANDLE createFile(const std::wstring& path);

}  // namespace child
