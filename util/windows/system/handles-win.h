#pragma once

#include <cstddef>
#include <string>

#include <windows.h>
#include <winternl.h>

/// Finds and closes a file that the System process, the kernel's own, holds open: the last resort
/// of System::removeTree. Reaches functions of ntdll.dll, which it looks up by name, and the
/// system's table of handles.
///
/// One thread at a time: all calls share two buffers. Nothing throws but for lack of memory, and a
/// function that ntdll.dll lacks makes the calls that need it fail.
class HandleInspector {
public:
    /// The one inspector of the process, made by the first call and never freed. The first call
    /// must not meet another.
    static HandleInspector& instance();
    /// Makes the inspector and gives back its argument, for use in an initialiser.
    template <class T>
    static T instance(T value) {
        instance();
        return value;
    }

    /// Finds the functions, and enables the debug privilege, without which the System process can't
    /// be opened. That this fails isn't told: later calls find less.
    HandleInspector();

    /// Closes, inside the System process, the first file there whose name begins with `path` from
    /// its third character on. Case is ignored, and a `/` of `path` stands for `\` too. True if one
    /// was closed.
    ///
    /// The two characters are those of a drive and its colon, which the kernel's names lack. They
    /// are passed over in every path, so that one with `\\?\` finds nothing. Nor does a path of at
    /// most two characters.
    bool closeSystemFileHandle(const std::wstring& path);

    /// Gets the name of a file, without its drive, into `name`, which has room for 500 characters.
    /// True if the system answered; an empty name leaves `name` alone. One of over 498 characters
    /// isn't answered.
    bool fileNameOfHandle(HANDLE handle, wchar_t* name);

    using NtQueryInformationFileFunction = NTSTATUS NTAPI(HANDLE, IO_STATUS_BLOCK*, void*, ULONG,
                                                          ULONG);
    using NtQuerySystemInformationFunction = NTSTATUS NTAPI(ULONG, void*, ULONG, ULONG*);
    using NtQueryObjectFunction = NTSTATUS NTAPI(HANDLE, ULONG, void*, ULONG, ULONG*);

    NtQueryInformationFileFunction* mNtQueryInformationFile;
    NtQuerySystemInformationFunction* mNtQuerySystemInformation;
    NtQueryObjectFunction* mNtQueryObject;

private:
    bool isFile(HANDLE handle) const;
    bool closeIfNamed(const std::wstring& path, HANDLE process, HANDLE handle);
};

/// A question for the name of a file. `name` has room for 500 characters.
struct HandleQuery {
    HANDLE handle;
    wchar_t* name;
    bool status;  ///< the answer's: whether the system gave one
    HandleInspector* inspector;
};
/// Answers `query` by HandleInspector::fileNameOfHandle. Fit for a thread of its own, as the system
/// may never answer; `query` outlives that thread, and until it ends the inspector's buffers are
/// its alone.
void queryHandleName(HandleQuery& query);

/// Enables the privilege to open every process. The error of the attempt, ERROR_SUCCESS included,
/// and 0 as well if the process's token or the privilege can't be had.
DWORD enableDebugPrivilege();

/// The text in the ANSI code page.
std::string toAnsi(const wchar_t* text, size_t length);
/// Copies `length` characters and closes them with a NUL, for which `target` has room.
void copyText(wchar_t* target, const wchar_t* text, size_t length);
