#pragma once

#include <string>

/// Copies owner, group and DACL of `source` to `target`. With `protect` the DACL of `target` no
/// longer inherits entries. Paths are UTF-8. Any thread may call this.
///
/// Returns false on failure. `*errorText`, unless the pointer is null, then has the message, and
/// GetLastError the error number, which is NO_ERROR if the failure isn't one of Windows.
[[nodiscard]] bool copySecurity(const std::string& source, const std::string& target, bool protect,
                                std::string* errorText = nullptr);
/// Prevents the address of the text from being converted to `protect` if that is left out.
template <class T>
[[nodiscard]] bool copySecurity(const std::string& source, const std::string& target,
                                T* errorText) = delete;
/// Gives `child` the owner and group of `parent`, and those entries of its DACL that children of
/// that kind (directory or file) inherit. Failures are reported as by `copySecurity`, with one
/// exception: a child that isn't there, or can't be opened, has the error ERROR_FILE_NOT_FOUND and
/// no message.
///
/// If the DACL of the parent has more than 585 entries, the function fails with "InitializeAcl",
/// however few of the entries are inherited. The reason: the child's list is allocated for all
/// entries, at 112 bytes each, before the first one is added, and no list may have more than 65,535
/// bytes.
[[nodiscard]] bool inheritSecurity(const std::string& parent, const std::string& child,
                                   std::string* errorText = nullptr);
