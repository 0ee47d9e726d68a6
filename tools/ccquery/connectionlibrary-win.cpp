#include "tools/ccquery/connectionlibrary-win.h"

#include <stdexcept>

#include <windows.h>

#include "tools/shared/absolutepath-win.h"
#include "tools/shared/systemerror-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/libraryfunction-win.h"

namespace ccquery {

using tools::absolutePath;
using tools::systemErrorText;

namespace {

HMODULE load(const std::string& file) {
    const bool bareName = file.find_first_of("\\/:") == std::string::npos;
    const std::wstring name = toWide(bareName ? file : absolutePath(file));
    HMODULE library = LoadLibraryW(name.c_str());
    if (library == nullptr) {
        const DWORD error = GetLastError();
        throw std::runtime_error("can't load '" + file + "': " + systemErrorText(error) +
                                 "; name a connection library by --library FILE");
    }
    return library;
}

}  // namespace

std::unique_ptr<ClearCaseConnection> connect(const std::string& file) {
    const auto make = findFunction<ClearCaseImplCtorFunction>(load(file), CLEARCASE_IMPL_CTOR);
    if (make == nullptr) {
        throw std::runtime_error("'" + file + "' is no connection library: it doesn't export " +
                                 CLEARCASE_IMPL_CTOR + "; name another by --library FILE");
    }
    std::unique_ptr<ClearCaseConnection> connection(make(/*unused=*/nullptr));
    if (connection == nullptr) {
        throw std::runtime_error("'" + file +
                                 "' made no connection; if it doesn't say why above, name another "
                                 "by --library FILE");
    }
    return connection;
}

std::string defaultLibrary() {
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(/*hModule=*/nullptr, program.data(),
                                      static_cast<DWORD>(program.size())));
    return toUtf8(program.substr(0, program.find_last_of(L'\\') + 1)) + "nbclearcase_fake.dll";
}

}  // namespace ccquery
