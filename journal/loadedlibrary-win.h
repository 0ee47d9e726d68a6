#pragma once

#include <string>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"

namespace journal {

/// The library that answers.
struct LoadedLibrary {
    ClearCaseImplCtorFunction* make = nullptr;
    std::string path;
};

/// Loads the library that NBCLEARCASE_JOURNAL_LIBRARY names, or else nbclearcase_fake.dll in the
/// folder of `self`, the module of this code. It stays loaded. Throws std::runtime_error, with a
/// message of one line that says what to do, if there is none, if it exports no connection or if it
/// is `self`.
[[nodiscard]] LoadedLibrary loadLibrary(HMODULE self);

/// Returns the path of a module; null means the program.
[[nodiscard]] std::wstring modulePath(HMODULE module);

}  // namespace journal
