#pragma once

#include <windows.h>

#include "util/windows/libraryfunction-win.h"

namespace testing_support {

/// Whether this is Wine. Some tests need what Wine lacks, or can do what Windows doesn't allow.
inline bool isUnderWine() {
    return findFunction<void()>(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace testing_support
