#pragma once

#include <exception>
#include <string>
#include <utility>

#include <windows.h>

#include "util/platform/errortext-win.h"

/// Runs `steps`, for functions that report failures by their result. Returns false if `steps` threw
/// a std::exception. Then `*errorText`, unless null, is `prefix` followed by its `what()`, and
/// GetLastError returns the number of a Win32Exception, or NO_ERROR for any other exception.
template <class Steps>
[[nodiscard]] bool runCatching(Steps&& steps, const std::string& prefix, std::string* errorText) {
    const auto report = [&](const std::exception& failure, DWORD error) {
        if (errorText != nullptr) {
            *errorText = prefix + failure.what();
        }
        SetLastError(error);
        return false;
    };
    try {
        std::forward<Steps>(steps)();
        return true;
    } catch (const Win32Exception& failure) {
        return report(failure, failure.mError);
    } catch (const std::exception& failure) {
        return report(failure, NO_ERROR);
    }
}
