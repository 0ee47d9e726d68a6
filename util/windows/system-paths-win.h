#pragma once

#include <string>

// Paths on their way to Windows and back. Above this layer a path is UTF-8 with either kind of
// slash and of any length; Windows gets the wide form that its limit of 260 characters doesn't
// concern.

namespace System {

/// The form of `path` that Windows takes without a limit:
///
///     "c:/a/../b"          L"\\\\?\\c:\\b"              a local path, folded
///     "//server/share/x"   L"\\\\?\\UNC\\server\\share\\x"  a network path, folded
///     "\\\\?\\c:\\a."      L"\\\\?\\c:\\a"              prefixed already: not folded
///     "sub/x", "c:x"       L"sub\\x", L"c:x"            anything else is only widened
///     "c:/nul"             L"c:\\nul"                   the device: it works without prefix only
///
/// As Windows itself would do without the prefix, blanks and dots at the end of each name are
/// removed, unless the name has nothing else.
///
/// Never stops the process, and throws nothing but std::bad_alloc: a path that can't be converted
/// (`//server` alone, or one that the expression for names gives up on) is told to the debugger,
/// and the result is empty or partly built, so that the file function that gets it fails.
std::wstring unicodePath(const std::string& path);

/// The current directory with forward slashes; empty if Windows gives no answer.
std::string getcwd();

/// Gets the long form of a name into `result`, absolute and with forward slashes. False, with the
/// failure in GetLastError, if Windows has none; `result` is then the absolute form of `path`.
bool longPath(const std::string& path, std::string& result);

/// The same for the short form. One of over 260 characters isn't fetched: the result is then that
/// many null characters.
bool shortPath(const std::string& path, std::string& result);

}  // namespace System

/// Removes `\\?\` from a path that Windows gave; of `\\?\UNC\` the two backslashes of the share
/// stay.
void stripUnicodePrefix(std::wstring& path);
