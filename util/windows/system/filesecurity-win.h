#pragma once

#include <string>

/// Gives `target` the owner, group and DACL of `source`; with `protect` the DACL is kept from
/// inheriting from then on. False on failure: the words are in `*errorText`, unless null, and the
/// number in GetLastError, 0 for a failure that is none of Windows. Paths are UTF-8. Any thread may
/// call this.
bool copySecurity(const std::string& source, const std::string& target, bool protect,
                  std::string* errorText = nullptr);
/// The address of the text isn't taken for `protect` where that is left out.
template <class T>
bool copySecurity(const std::string& source, const std::string& target, T* errorText) = delete;
/// Gives `child` the owner and group of `parent` and, of its DACL, what children of that kind (a
/// directory, or a file) inherit. Failures as with `copySecurity`, but for a child that isn't
/// there, which has the number 2 and no words.
///
/// A parent whose DACL has more than 585 entries fails with "InitializeAcl", whatever of them is
/// inherited: the child's list gets the room for all, 112 bytes for each, before the first is
/// added, and no list has more than 65,535 bytes.
bool inheritSecurity(const std::string& parent, const std::string& child,
                     std::string* errorText = nullptr);
