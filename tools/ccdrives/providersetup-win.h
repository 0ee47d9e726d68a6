#pragma once

#include <string>

#include "tools/ccdrives/providerentries.h"

// Reads and changes the registry of the machine. Throws Win32Exception for a call that fails,
// unless it says otherwise. A process reads the entries when its mpr.dll is loaded or first asked,
// so only processes that are started after a change see it.

namespace ccdrives {

/// Returns what is in the registry now. Throws std::runtime_error, with a message of one line that
/// says what to do, if it can't be read or if a value isn't a text.
[[nodiscard]] ProviderEntries readProviderEntries();

/// Whether a file is a network provider for programs like this one: a DLL that exports NPGetCaps.
/// Its code doesn't run. The path is full, in UTF-8.
[[nodiscard]] bool isProvider(const std::string& library);

/// Throws std::runtime_error, with a message of one line that says what to do, if the user may not
/// change the entries. Changes nothing.
void requireAdministrator();

/// Makes the changes in their order. If one fails, those before it stay. A text that replaces one
/// keeps its type (REG_SZ or REG_EXPAND_SZ). A value that isn't any more what the change was made
/// for stays, and makes it throw std::runtime_error.
void apply(const RegistryChanges& changes);

}  // namespace ccdrives
