// loadhost DLL: loads the library in a fresh process and prints "loaded", then asks it for its
// drives. If the library doesn't load, prints the error and ends with exit code 1.

#include <iostream>
#include <memory>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "util/windows/libraryfunction-win.h"

int main(int argc, char* argv[]) {
    const HMODULE library = LoadLibraryA(argc > 1 ? argv[1] : "");
    if (library == nullptr) {
        std::cout << "error " << GetLastError() << '\n';
        return 1;
    }
    std::cout << "loaded\n";
    const auto make = findFunction<ClearCaseImplCtorFunction>(library, CLEARCASE_IMPL_CTOR);
    const std::unique_ptr<ClearCaseConnection> connection(make(nullptr));
    std::map<std::string, std::string> drives;
    std::cout << "MVFS drive '" << connection->getMvfsDrives(drives) << "'\n";
    for (const auto& [drive, viewTag] : drives) {
        std::cout << drive << ' ' << viewTag << '\n';
    }
    return 0;
}
