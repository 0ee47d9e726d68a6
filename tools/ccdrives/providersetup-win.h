#pragma once

#include <string>

#include "tools/ccdrives/providerentries.h"

// Reads and changes the registry of the machine. Throws Win32Exception for a call that fails. A
// process reads the entries when its mpr.dll is loaded or first asked, so only processes that are
// started after a change see it.

namespace ccdrives {

/// Returns what is in the registry now. A value that isn't a text makes it throw
/// std::runtime_error.
[[nodiscard]] ProviderEntries readProviderEntries();

/// Throws std::runtime_error, with a message of one line that says what to do, if the user may not
/// change the entries. Changes nothing.
void requireAdministrator();

/// Makes the changes in their order. If one fails, those before it stay. A text that replaces one
/// keeps its type (REG_SZ or REG_EXPAND_SZ).
void apply(const RegistryChanges& changes);

}  // namespace ccdrives
