#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "testing/processes/childprocess-win.h"
#include "util/windows/libraryfunction-win.h"

namespace testing_support {

/// The DLL as it ships, loaded from the test program's folder until the scope ends.
class [[nodiscard]] ShippedLibrary {
public:
    ShippedLibrary()
        : mLibrary(LoadLibraryW((testProgramFolder() / "nbclearcase_fake.dll").c_str())) {
        if (mLibrary == nullptr) {
            throw std::runtime_error("the library can't be loaded");
        }
        mMake = findFunction<ClearCaseImplCtorFunction>(mLibrary, CLEARCASE_IMPL_CTOR);
        if (mMake == nullptr) {
            FreeLibrary(mLibrary);
            throw std::runtime_error(std::string("the library doesn't export ") +
                                     CLEARCASE_IMPL_CTOR);
        }
    }
    ~ShippedLibrary() { FreeLibrary(mLibrary); }
    ShippedLibrary(const ShippedLibrary&) = delete;
    ShippedLibrary& operator=(const ShippedLibrary&) = delete;

    HMODULE module() const { return mLibrary; }
    /// Creates a connection, which must be destroyed before the library is unloaded.
    std::unique_ptr<ClearCaseConnection> connect(void* argument = nullptr) const {
        return std::unique_ptr<ClearCaseConnection>(mMake(argument));
    }

private:
    HMODULE mLibrary;
    ClearCaseImplCtorFunction* mMake = nullptr;
};

}  // namespace testing_support
