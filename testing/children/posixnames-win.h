#pragma once

#include <optional>
#include <string>

// What the small cygpath, readlink and ln know of a POSIX world: the folder in NBCC_POSIX_ROOT is
// its "/", and a link NAME is a file NAME.lnk that begins with "!<symlink>" and goes on with the
// target.

namespace child {

/// The Windows name, with forward slashes: of a POSIX name if its first folder is in the root; of a
/// relative one in the current directory; a name with a drive stands for itself.
std::optional<std::wstring> nativeName(const std::wstring& name);

/// The file that holds a link.
std::wstring linkFile(const std::wstring& native);

constexpr char LINK_MARK[] = "!<symlink>";

/// An environment variable; empty if it isn't set.
std::wstring variable(const wchar_t* name);

std::string utf8(const std::wstring& text);
std::wstring wide(const std::string& text);

}  // namespace child
