#pragma once

#include <optional>
#include <string>

// What the small cygpath, readlink and ln know of a POSIX world: its "/" is the folder in
// NBCC_POSIX_ROOT. A link NAME is a file NAME.lnk that contains "!<symlink>" followed by the
// target.

namespace child {

/// Returns the Windows name, with forward slashes. A POSIX name has one if its first folder is in
/// the root. A relative name is in the current directory. A name with a drive is a Windows name
/// already.
std::optional<std::wstring> nativeName(const std::wstring& name);

/// Returns the name of the file that holds a link.
std::wstring linkFile(const std::wstring& native);

constexpr char linkMark[] = "!<symlink>";

/// Returns an environment variable, or an empty text if it isn't set.
std::wstring variable(const wchar_t* name);

std::string utf8(const std::wstring& text);
std::wstring wide(const std::string& text);

}  // namespace child
