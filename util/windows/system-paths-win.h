#pragma once

#include <string>

// Converts paths for Windows and back. Above this layer, a path is UTF-8, with either kind of slash
// and of any length. Windows gets the wide form, which is exempt from its limit of 260 characters.
//
// Any thread may call these functions at any time, except while `setCygwinPaths` runs. The current
// directory belongs to the process, and any thread can change it.

/// Questions to Windows about files and the machine.
namespace System {

/// Returns the form of `path` that Windows accepts without a length limit:
///
///     "c:/a/../b"          L"\\\\?\\c:\\b"                 a local path, normalized
///     "//server/share/x"   L"\\\\?\\UNC\\server\\share\\x" a network path, normalized
///     "//./pipe/x"         L"\\\\?\\UNC\\.\\pipe\\x"       so that devices can't be reached
///     "\\\\?\\c:\\a."      L"\\\\?\\c:\\a"                 already prefixed: not normalized
///     "sub/x", "c:x"       L"sub\\x", L"c:x"               anything else is only widened
///     "c:/nul"             L"c:\\nul"                      the device, which works only unprefixed
///
/// "Only widened" means converted to UTF-16 with backslashes. In every form, blanks and dots at the
/// end of a name are removed, as far as they follow a character of that name that isn't a dot:
///
///     "a. "     becomes "a"
///     "..."     stays
///     "  "      becomes " ": of a name of blanks, the first one stays
///
/// A line end inside a name counts as its end here. `removeTrailingBlanks` (util/trailingblanks.h)
/// documents the rule. The time is linear in the length of the path.
///
/// Never throws. If a path can't be converted (`//server` without a share, lack of memory), the
/// debugger gets the line "System::unicodePath("PATH"):  REASON", and the result is empty or
/// incomplete, so that the file function that gets it fails. Without memory for the line, it is
/// lost.
[[nodiscard]] std::wstring unicodePath(const std::string& path);

/// Returns the current directory with forward slashes; empty if Windows can't report it.
[[nodiscard]] std::string getcwd();

/// Stores the long form of a name in `result`, with forward slashes and absolute in the sense of
/// `isAbsolutePath`. If Windows has none, returns false, with the failure in GetLastError, and
/// `result` is the absolute form of `path`. Only one failure isn't in GetLastError: the name grows
/// during the call. Doesn't check for a file: whether a missing one has a long form depends on the
/// system.
[[nodiscard]] bool longPath(const std::string& path, std::string& result);

/// The same for the short form. A text of over 260 characters isn't fetched: the function then
/// returns true, and the result is that many null characters.
[[nodiscard]] bool shortPath(const std::string& path, std::string& result);

}  // namespace System

/// Removes `\\?\` from a path that Windows returned. `\\?\UNC\` is replaced by the two backslashes
/// of the share.
void stripUnicodePrefix(std::wstring& path);
