#include "util/windows/exec/environment-win.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <windows.h>

#include "util/numberedmessage.h"
#include "util/platform/errortext-win.h"
#include "util/stringcompare.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/host-win.h"

Mutex gProcessEnvironmentLock{mutexRecursive};

namespace {

constexpr std::string_view pathSign = "PATH=";

/// Calls `visit(text)` for each string of the block until one call returns true, and returns that
/// string; null if none does. `environment` may be null.
template <class Visitor>
const char* findString(const char* environment, Visitor visit) {
    while (environment != nullptr && *environment != '\0') {
        const std::string_view text(environment);
        if (visit(text)) {
            return environment;
        }
        environment += text.size() + 1;
    }
    return nullptr;
}

struct Variable {
    std::string_view name;
    std::string_view text;  ///< the whole string
};

Variable variableOf(std::string_view text) { return {text.substr(0, text.find('=')), text}; }

/// The variables of the block, sorted; if several have the same name, only the first.
std::vector<Variable> sortedVariables(const char* environment) {
    std::vector<Variable> variables;
    variables.reserve(environmentSize(environment).strings);
    findString(environment, [&variables](std::string_view text) {
        variables.push_back(variableOf(text));
        return false;
    });
    std::stable_sort(variables.begin(), variables.end(),
                     [](const Variable& a, const Variable& b) { return a.name < b.name; });
    const auto end =
        std::unique(variables.begin(), variables.end(),
                    [](const Variable& a, const Variable& b) { return a.name == b.name; });
    variables.erase(end, variables.end());
    return variables;
}

/// Appends the text in UTF-16 and a NUL; appends nothing if the text can't be converted.
void appendString(std::vector<wchar_t>& block, std::string_view text) {
    const size_t before = block.size();
    block.resize(before + text.size() + 1);
    const int length =
        MultiByteToWideChar(CP_UTF8, /*dwFlags=*/0, text.data(), static_cast<int>(text.size()),
                            block.data() + before, static_cast<int>(text.size()));
    block.resize(before + static_cast<size_t>(length));
    if (length > 0) {
        block.push_back(L'\0');
    }
}

/// Returns "Path=" and the value that the process has, which restores it; without a value the entry
/// removes the variable. In the ANSI code page, as `_putenv` expects it.
std::string savedPath() {
    std::string entry = "Path=";
    std::string value(MAX_PATH, '\0');
    for (;;) {
        const DWORD size =
            GetEnvironmentVariableA("Path", value.data(), static_cast<DWORD>(value.size()));
        const bool fits = size < value.size();
        value.resize(size);
        if (fits) {
            return entry.append(value);
        }
    }
}

}  // namespace

wchar_t* buildEnvironmentBlock(std::vector<wchar_t>& block, const char* environment) {
    block.clear();
    block.reserve(environmentSize(environment).bytes);
    std::string terminated;
    for (const Variable& variable : sortedVariables(environment)) {
        if (variable.name.size() == variable.text.size()) {
            terminated.assign(variable.text).push_back('=');
            appendString(block, terminated);
        } else {
            appendString(block, variable.text);
        }
    }
    block.push_back(L'\0');
    return block.data();
}

EnvironmentSize environmentSize(const char* environment) {
    if (environment == nullptr) {
        return {};
    }
    EnvironmentSize size{0, 1};
    findString(environment, [&size](std::string_view text) {
        ++size.strings;
        size.bytes += text.size() + 1;
        return false;
    });
    return size;
}

ChildEnvironmentScope::ChildEnvironmentScope(const char* environment,
                                             const std::string& workingDirectory)
    : mLock(gProcessEnvironmentLock),
      mChildPath(findString(environment,
                            [](std::string_view text) {
                                return equalsNoCase(text.substr(0, pathSign.size()), pathSign);
                            })),
      mSavedDirectory(System::getcwd()),
      mSavedPath(savedPath()) {
    if (!workingDirectory.empty() && !System::changeDirectory(workingDirectory)) {
        throw NumberedRuntimeError(
            directoryNotEntered,
            lastErrorText(/*withCode=*/false, /*error=*/nullptr, errorOfSystem));
    }
    if (mChildPath != nullptr) {
        // Compatibility: the entry is UTF-8, but the C runtime treats it as text in the ANSI code
        // page, so that the search sees other letters outside ASCII.
        _putenv(mChildPath);
        mChildPath += pathSign.size();
    }
}

ChildEnvironmentScope::~ChildEnvironmentScope() {
    // Failures are ignored: there is nothing else to go back to.
    static_cast<void>(System::changeDirectory(mSavedDirectory));
    if (mChildPath != nullptr) {
        // Restored only if it was changed: the code page may lack some of its characters.
        _putenv(mSavedPath.c_str());
    }
}
