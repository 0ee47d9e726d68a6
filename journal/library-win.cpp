// nbclearcase_journal.dll: its only exported function, and what that needs of the process.

#include <atomic>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <windows.h>

#include "journal/journaledconnection.h"
#include "journal/loadedlibrary-win.h"
#include "journal/processsurroundings-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/environment-win.h"

namespace {

using namespace journal;

HMODULE gSelf = nullptr;
std::atomic<uint32_t> gConnections = 0;

/// Returns `path` as it is if Windows can't complete it: opening the file reports that.
std::wstring absolutePath(const std::wstring& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(),
                                 /*lpFilePart=*/nullptr));
    return full.empty() ? path : full;
}

std::wstring journalFile() {
    const std::string named = environmentVariable("NBCLEARCASE_JOURNAL_FILE").value_or("");
    return absolutePath(toWide(named.empty() ? "nbclearcase_journal.jsonl" : named));
}

Origin originOf(const LoadedLibrary& library) {
    return {.library = library.path,
            .host = toUtf8(modulePath(/*module=*/nullptr)),
            .directory = toUtf8(absolutePath(L".")),
            .viewRoot = environmentVariable("CLEARCASE_ROOT"),
            .configuration = environmentVariable("NBCLEARCASE_FAKE_INI")};
}

}  // namespace

/// Documented in clearcase/clearcaseconnection.h.
extern "C" ClearCaseConnection* ClearCaseImplCtor(void* unused) {
    LoadedLibrary library;
    try {
        library = loadLibrary(gSelf);
    } catch (const std::exception& error) {
        std::cerr << std::string("nbclearcase_journal:  ") + error.what() + '\n';
        return nullptr;
    }
    // First, since it changes the error numbers, which are to stay as the library leaves them.
    const Origin origin = originOf(library);
    auto surroundings = std::make_unique<ProcessSurroundings>(journalFile());
    const int64_t begin = surroundings->clock();
    std::unique_ptr<ClearCaseConnection> connection(library.make(unused));
    if (connection == nullptr) {
        return nullptr;
    }
    return new JournaledConnection(std::move(connection), ++gConnections, origin,
                                   std::move(surroundings), begin);
}

static_assert(std::is_same_v<decltype(ClearCaseImplCtor), ClearCaseImplCtorFunction>);

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void* /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        gSelf = library;
    }
    return TRUE;
}
