#include <new>
#include <type_traits>

#include <windows.h>

#include "clearcase/fakeclearcase.h"
#include "clearcase/libraryload-win.h"

/// The only exported function; documented in clearcase/clearcaseconnection.h.
extern "C" ClearCaseConnection* ClearCaseImplCtor(void* unused) {
    return new (std::nothrow) FakeClearCase(unused);
}

static_assert(std::is_same_v<decltype(ClearCaseImplCtor), ClearCaseImplCtorFunction>);

extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD reason, void* /*reserved*/) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            return attachLibrary() ? TRUE : FALSE;
        case DLL_PROCESS_DETACH:
            detachLibrary();
            return TRUE;
        default:
            return TRUE;
    }
}
