#pragma once

#include <string>

// Paths on their way to Windows and back. Above this layer a path is UTF-8 with either kind of
// slash and of any length; Windows gets the wide form that its limit of 260 characters doesn't
// concern.
//
// Any thread may call these at any time, save while `setCygwinPaths` runs. The current directory
// belongs to the process, and any thread can change it.

namespace System {

/// The form of `path` that Windows takes without a limit:
///
///     "c:/a/../b"          L"\\\\?\\c:\\b"              a local path, folded
///     "//server/share/x"   L"\\\\?\\UNC\\server\\share\\x"  a network path, folded
///     "//./pipe/x"         L"\\\\?\\UNC\\.\\pipe\\x"  so that devices can't be reached
///     "\\\\?\\c:\\a."      L"\\\\?\\c:\\a"              prefixed already: not folded
///     "sub/x", "c:x"       L"sub\\x", L"c:x"            anything else is only widened
///     "c:/nul"             L"c:\\nul"                   the device: it works without prefix only
///
/// "Only widened" means UTF-16 with backslashes. In every form, a run of blanks and dots at the
/// end of a name is removed as far as it follows a character of that name which is no dot: "a. "
/// becomes "a", "..." stays, and of a name of blanks the first stays. A line end inside a name
/// counts as its end here. `removeTrailingBlanks` (util/trailingblanks.h) has the rule. The time is
/// linear in the length of the path.
///
/// Never throws: a path that can't be converted (`//server` alone, lack of memory) is told to the
/// debugger as "System::unicodePath("PATH"):  REASON", a line that lack of memory loses, and the
/// result is empty or partly built, so that the file function that gets it fails.
std::wstring unicodePath(const std::string& path);

/// The current directory with forward slashes; empty if Windows gives no answer.
std::string getcwd();

/// Gets the long form of a name into `result`, absolute as `isAbsolutePath` has it and with forward
/// slashes. False, with the failure in GetLastError, if Windows has none; `result` is then the
/// absolute form of `path`. A name that grows while it is asked for is the one failure that
/// GetLastError doesn't tell of. No test for a file: whether a name that isn't there has a long
/// form is up to the system.
bool longPath(const std::string& path, std::string& result);

/// The same for the short form. A text of over 260 characters isn't fetched: the answer is true,
/// and the result is that many null characters.
bool shortPath(const std::string& path, std::string& result);

}  // namespace System

/// Removes `\\?\` from a path that Windows gave; of `\\?\UNC\` the two backslashes of the share
/// stay.
void stripUnicodePrefix(std::wstring& path);
