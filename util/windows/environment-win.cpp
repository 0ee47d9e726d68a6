#include "util/windows/environment-win.h"

#include <windows.h>

#include "util/platform/unicodetext-win.h"

std::optional<std::string> environmentVariable(const char* name) {
    const std::wstring wideName = toWide(name);
    std::wstring value(MAX_PATH, L'\0');
    for (;;) {
        SetLastError(NO_ERROR);  // an empty value returns the same as a missing variable
        const DWORD size = GetEnvironmentVariableW(wideName.c_str(), value.data(),
                                                   static_cast<DWORD>(value.size()));
        if (size == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
            return std::nullopt;
        }
        const bool fits = size < value.size();
        value.resize(size);
        if (fits) {
            return toUtf8(value);
        }
    }
}
