#pragma once

#include <string>

#include <windows.h>

#include "util/windows/callresult.h"

// The machine and the running program. All text is UTF-8, except the result of `userName`. Nothing
// throws, except `fullHostName`, and except for lack of memory. Any thread may call these. The
// environment and the current directory belong to the process.

namespace System {

/// Returns the name of the user, in the system's code page, or "tallymake" if Windows has none.
[[nodiscard]] std::string userName();

/// Returns the fully qualified name of the machine. Windows is asked for it once; it is asked again
/// with `refresh`, and as long as the name is empty. Throws Win32Exception
/// ("GetComputerNameEx(FQDN,0)", "GetComputerNameEx(FQDN)").
[[nodiscard]] std::string fullHostName(bool refresh);

/// Returns the folder for temporary files as Windows spells it, with a trailing backslash, or "c:\"
/// if Windows names none.
[[nodiscard]] std::string tempDirectory();

/// Returns the local date and time, by the user's calendar, as "2026/11/21 14:05:09".
[[nodiscard]] std::string dateTimeText();

/// Returns the folder of the running program, with backslashes and without a trailing one. The
/// result is empty if the folder isn't available. The reference stays valid until the process ends.
[[nodiscard]] const std::string& programDirectory();

/// Returns the folder of the program, followed by `relative`. A `/` is put between them unless one
/// is there; a `\` on either side doesn't count. If the folder isn't available, the result is that
/// of `fallback`, which must not be null.
[[nodiscard]] std::string pathBelowProgram(const std::string& relative, std::string (*fallback)());

/// @{
/// Return the folder two levels above the program, the folder for configuration beside it, and the
/// folder three levels above the program. The texts contain `..`. If the folder of the program
/// isn't available, all three are the current directory.
[[nodiscard]] std::string baseDirectory();
[[nodiscard]] std::string configurationDirectory();
[[nodiscard]] std::string installationFallback();
/// @}

/// Returns the installation folder from the registry, or `installationFallback()` if the registry
/// has none. The folder is the value "installDir", a REG_SZ of at most 522 bytes, of the key
/// `HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\NimbrelAgent\Parameters`.
[[nodiscard]] std::string installationDirectory();

/// Deletes a registry key with everything below it. Returns true if the key is gone, and also if it
/// wasn't there.
///
/// An empty `subKey` means `parent` itself. A null one means the keys in `parent`; then the result
/// is false. A link may be followed: then the keys in its target are deleted.
///
/// If a key can't be opened, the reason is stored in `message`, unless that is null or not empty.
/// Other failures have no message: a key that can't be deleted, or one that exists again.
[[nodiscard]] bool deleteKey(HKEY parent, const wchar_t* subKey, std::string* message);

/// Sets an environment variable by "NAME=VALUE", for the C runtime and for the system. An empty
/// value removes it.
[[nodiscard]] CallResult setEnvironment(const char* entry);
/// Removes an environment variable.
[[nodiscard]] CallResult unsetEnvironment(const char* name);

/// Makes `path` the current directory. The path is passed to Windows unchanged, so the length limit
/// of Windows applies. Returns false on failure, with the error in GetLastError.
[[nodiscard]] bool changeDirectory(const std::string& path);

}  // namespace System
