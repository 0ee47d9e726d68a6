#pragma once

#include <windows.h>

/// Returns a function that a loaded library exports, by its name; null if there is none, or if
/// `library` is null. The caller is responsible for the type. Any thread may call.
template <class Function>
[[nodiscard]] Function* findFunction(HMODULE library, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}
