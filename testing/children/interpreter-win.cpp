// interpreter WORDS...: prints the whole command line as received, a line end, and the content of
// the file that the last word names, if there is one.

#include <array>

#include <windows.h>

#include "testing/children/childruntime-win.h"

int wmain(int count, wchar_t** arguments) {
    child::print(GetCommandLineW());
    child::print(L"\n");
    HANDLE file = CreateFileW(arguments[count - 1], GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE && count > 1) {
        std::array<char, 4096> buffer;
        child::write(GetStdHandle(STD_OUTPUT_HANDLE), buffer.data(),
                     child::read(file, buffer.data(), buffer.size()));
    }
    return 0;
}
