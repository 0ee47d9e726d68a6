#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <windows.h>
#include <winternl.h>

/// Capacity, in characters, for the name of a file without its drive.
inline constexpr size_t fileNameRoom = 500;
using FileNameBuffer = std::array<wchar_t, fileNameRoom>;  ///< for one name

/// Finds and closes a file that the System process, the process of the kernel, holds open: the last
/// resort of System::removeTree. Uses functions of ntdll.dll, which it looks up by name, and the
/// system's table of handles.
///
/// Only one thread at a time may call it, since all calls share two buffers. Nothing throws, except
/// for lack of memory. If ntdll.dll lacks a function, the calls that need it fail.
class HandleInspector {
public:
    /// Returns the only inspector of the process, which the first call makes and nothing frees. No
    /// other call may run at the same time as the first.
    [[nodiscard]] static HandleInspector& instance();
    /// Makes the inspector and returns `value`, for use in an initialiser.
    template <class T>
    [[nodiscard]] static T instance(T value) {
        static_cast<void>(instance());
        return value;
    }

    /// Finds the functions, and enables the debug privilege, without which the System process can't
    /// be opened. A failure isn't reported: later calls find less.
    HandleInspector();

    /// Closes, inside the System process, the first file there whose name begins with `path`, from
    /// the third character of `path` on. Case is ignored, and a `/` in `path` also matches `\`.
    /// Returns true if a file was closed.
    ///
    /// The first two characters are a drive letter and a colon, which the kernel's names lack. They
    /// are skipped in every path, so a path with `\\?\` finds nothing. Neither does a path of two
    /// characters or fewer.
    [[nodiscard]] bool closeSystemFileHandle(const std::wstring& path);

    /// Copies the name of a file, without its drive, to `name`, which has capacity for
    /// `fileNameRoom` characters. Returns true if the system answered. An empty name leaves `name`
    /// unchanged. The system doesn't answer for names of more than 498 characters.
    [[nodiscard]] bool fileNameOfHandle(HANDLE handle, wchar_t* name);

    /// Asks about an open file.
    using NtQueryInformationFileFunction = NTSTATUS NTAPI(HANDLE, IO_STATUS_BLOCK*, void*, ULONG,
                                                          ULONG);
    /// Asks about all handles of the system.
    using NtQuerySystemInformationFunction = NTSTATUS NTAPI(ULONG, void*, ULONG, ULONG*);
    /// Asks about a handle.
    using NtQueryObjectFunction = NTSTATUS NTAPI(HANDLE, ULONG, void*, ULONG, ULONG*);

    NtQueryInformationFileFunction* mNtQueryInformationFile;      ///< null if ntdll.dll lacks it
    NtQuerySystemInformationFunction* mNtQuerySystemInformation;  ///< null if ntdll.dll lacks it
    NtQueryObjectFunction* mNtQueryObject;                        ///< null if ntdll.dll lacks it

private:
    [[nodiscard]] bool isFile(HANDLE handle) const;
    [[nodiscard]] bool closeIfNamed(const std::wstring& path, HANDLE process, HANDLE handle);
};

/// A query for the name of a file. `name` has capacity for `fileNameRoom` characters.
struct HandleQuery {
    HANDLE handle;               ///< of the file
    wchar_t* name;               ///< filled by the answer
    bool status;                 ///< set by the answer: whether the system answered
    HandleInspector* inspector;  ///< that answers
};
/// Answers `query` with HandleInspector::fileNameOfHandle. It may run in a thread of its own, since
/// the system may never answer. `query` must outlive that thread, and until the thread ends nothing
/// else may use the inspector's buffers.
void queryHandleName(HandleQuery& query);

/// Enables the privilege to open every process. Returns the error of the attempt, which is
/// ERROR_SUCCESS if it succeeded, or 0 if the process's token or the privilege isn't available.
[[nodiscard]] DWORD enableDebugPrivilege();

/// Returns the text in the ANSI code page.
[[nodiscard]] std::string toAnsi(const wchar_t* text, size_t length);
/// Copies `length` characters and appends a NUL. `target` must have space for both.
void copyText(wchar_t* target, const wchar_t* text, size_t length);
