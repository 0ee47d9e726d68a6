#pragma once

#include <exception>
#include <string>
#include <utility>

#include <windows.h>

#include "util/windows/errortext-win.h"

/// Runs `steps`, for functions that report by their result. False if an exception left them: then
/// `*errorText`, unless null, is `prefix` and its `what()`, and GetLastError the number of a
/// Win32Exception, or 0 for any other.
template <class Steps>
bool runCatching(Steps&& steps, const std::string& prefix, std::string* errorText) {
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
