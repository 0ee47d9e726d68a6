// loadhost DLL: loads the library in a fresh process and prints "loaded", or the error and goes
// with exit code 1. Then asks it for its drives.

#include <iostream>
#include <memory>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"

int main(int argc, char* argv[]) {
    const HMODULE library = LoadLibraryA(argc > 1 ? argv[1] : "");
    if (library == nullptr) {
        std::cout << "error " << GetLastError() << '\n';
        return 1;
    }
    std::cout << "loaded\n";
    const auto make = reinterpret_cast<ClearCaseImplCtorFunction*>(
        reinterpret_cast<void*>(GetProcAddress(library, CLEARCASE_IMPL_CTOR)));
    const std::unique_ptr<ClearCaseConnection> connection(make(nullptr));
    std::map<std::string, std::string> drives;
    std::cout << "MVFS drive '" << connection->getMvfsDrives(drives) << "'\n";
    for (const auto& [drive, viewTag] : drives) {
        std::cout << drive << ' ' << viewTag << '\n';
    }
    return 0;
}
