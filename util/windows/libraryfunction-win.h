#pragma once

#include <windows.h>

/// A function that a loaded library exports, by its name; null if there is none, or `library` is
/// null. The caller vouches for the type. Any thread may call.
template <class Function>
Function* findFunction(HMODULE library, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}
