#include "journal/loadedlibrary-win.h"

#include <stdexcept>

#include "journal/errordialogs-win.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/environment-win.h"
#include "util/windows/libraryfunction-win.h"

namespace journal {
namespace {

constexpr const char* variable = "NBCLEARCASE_JOURNAL_LIBRARY";

std::string defaultLibrary(HMODULE self) {
    const std::wstring path = modulePath(self);
    return toUtf8(path.substr(0, path.find_last_of(L'\\') + 1)) + "nbclearcase_fake.dll";
}

HMODULE load(const std::string& name) {
    const NoErrorDialogs noDialogs;
    const HMODULE library = LoadLibraryW(toWide(name).c_str());
    if (library == nullptr) {
        const DWORD error = GetLastError();
        throw std::runtime_error("can't load '" + name +
                                 "': " + win32ErrorText("LoadLibrary", static_cast<int>(error)) +
                                 "; name the library that answers by " + variable);
    }
    return library;
}

}  // namespace

std::wstring modulePath(HMODULE module) {
    constexpr size_t longestPath = 32768;
    std::wstring path(longestPath, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

LoadedLibrary loadLibrary(HMODULE self) {
    const std::string named = environmentVariable(variable).value_or("");
    const std::string name = named.empty() ? defaultLibrary(self) : named;
    const HMODULE library = load(name);
    if (library == self) {
        FreeLibrary(library);
        throw std::runtime_error("'" + name + "' is the journal itself; name the library that " +
                                 "answers by " + variable);
    }
    auto* const make = findFunction<ClearCaseImplCtorFunction>(library, CLEARCASE_IMPL_CTOR);
    if (make == nullptr) {
        FreeLibrary(library);
        throw std::runtime_error("'" + name + "' is no connection library: it doesn't export " +
                                 CLEARCASE_IMPL_CTOR + "; name another by " + variable);
    }
    return {make, toUtf8(modulePath(library))};
}

}  // namespace journal
