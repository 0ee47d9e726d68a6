// registerprovider install [DLL] | remove: enters the test bed's provider in the registry, or
// removes it. The DLL is the one in this program's folder unless another is named. The exit code is
// 0, or 2 with a line on standard error.

#include <exception>
#include <iostream>
#include <string>

#include "testing/providers/registeredprovider-win.h"

int wmain(int count, wchar_t** arguments) try {
    const std::wstring command = count > 1 ? arguments[1] : L"";
    if (command == L"install" && count <= 3) {
        testing_support::installProvider(count == 3 ? std::filesystem::absolute(arguments[2])
                                                    : std::filesystem::path());
        return 0;
    }
    if (command == L"remove" && count == 2) {
        testing_support::removeProvider();
        return 0;
    }
    std::cerr << "usage: registerprovider install [DLL] | remove\n";
    return 2;
} catch (const std::exception& error) {
    std::cerr << "registerprovider: " << error.what() << '\n';
    return 2;
}
