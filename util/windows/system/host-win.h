#pragma once

#include <string>

#include <windows.h>

// The machine and the running program. All text is UTF-8, save that of `userName`. Nothing throws
// but for lack of memory, save `fullHostName`. Any thread may call these; the environment and the
// current directory belong to the process.

namespace System {

/// The name of the user, in the system's code page; "tallymake" if Windows gives none.
std::string userName();

/// The fully qualified name of the machine. It is asked for once, and again with `refresh` and
/// as long as it is empty. Throws Win32Exception ("GetComputerNameEx(FQDN,0)",
/// "GetComputerNameEx(FQDN)").
std::string fullHostName(bool refresh);

/// The folder for temporary files as Windows spells it, with a backslash behind it; "c:\" if
/// Windows names none.
std::string tempDirectory();

/// Date and time of the place, by the user's calendar, as "2026/11/21 14:05:09".
std::string dateTimeText();

/// The folder of the running program, with backslashes and none behind it; empty if it can't be
/// had. The reference is good to the end of the process.
const std::string& programDirectory();

/// `relative` below the folder of the program, with a `/` between them unless there is one: a `\`
/// on either side doesn't count. What `fallback`, never null, returns if that folder can't be had.
std::string pathBelowProgram(const std::string& relative, std::string (*fallback)());

/// The folder two levels above the program, the one for configuration beside it, and the one three
/// levels above. As told they hold `..`; without a program's folder they are the current directory.
std::string baseDirectory();
std::string configurationDirectory();
std::string installationFallback();

/// The folder that the registry names as installed, or `installationFallback`. That is the value
/// "installDir", a REG_SZ of at most 522 bytes, of the key
/// HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\NimbrelAgent\Parameters.
std::string installationDirectory();

/// Deletes a registry key with all below it. True if it is gone, also if it wasn't there. On a
/// failure to open a key `message`, unless it is null or holds something, gets the reason. An
/// empty `subKey` stands for `parent` itself, a null one for the keys in it, and then the result
/// is false. Other failures have no words: a key that can't be deleted, or one that is
/// there again. A link may be followed: what it leads to then loses its keys.
bool deleteKey(HKEY parent, const wchar_t* subKey, std::string* message);

/// Sets an environment variable by "NAME=VALUE" for the C runtime and the system; an empty value
/// removes it. 0, or -1 on failure.
int setEnvironment(const char* entry);
/// Removes an environment variable. 0, or -1 on failure.
int unsetEnvironment(const char* name);

/// Makes `path` the current directory. It goes to Windows as it is, with Windows's limit. False on
/// failure, which is in GetLastError.
bool changeDirectory(const std::string& path);

}  // namespace System
