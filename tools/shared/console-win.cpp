#include "tools/shared/console-win.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <windows.h>
#include <shellapi.h>

#include "util/platform/unicodetext-win.h"

namespace tools {

Console::Console() : mCodePage(GetConsoleOutputCP()) {
    for (FILE* stream : {stdin, stdout, stderr}) {
        _setmode(_fileno(stream), _O_BINARY);
    }
    SetErrorMode(SEM_FAILCRITICALERRORS);
    SetConsoleOutputCP(CP_UTF8);
}

Console::~Console() { SetConsoleOutputCP(mCodePage); }

ConsoleColours::ConsoleColours(bool json) {
    const wchar_t* const noColor = _wgetenv(L"NO_COLOR");
    if (!mayPaint(json, noColor == nullptr ? "" : toUtf8(noColor))) {
        return;
    }
    HANDLE const output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    // Only a console has a mode, and only since Windows 10 this one.
    if (GetConsoleMode(output, &mode) &&
        SetConsoleMode(output,
                       mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING)) {
        mConsole = output;
        mMode = mode;
    }
}

ConsoleColours::~ConsoleColours() {
    if (mConsole != nullptr) {
        SetConsoleMode(mConsole, mMode);
    }
}

std::vector<std::string> programArguments() {
    struct Freer {
        void operator()(wchar_t** list) const { LocalFree(list); }
    };
    int count = 0;
    const std::unique_ptr<wchar_t*[], Freer> list(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i) {
        result.push_back(toUtf8(list[static_cast<size_t>(i)]));
    }
    return result;
}

void printText(const std::string& text) {
    std::cout << text << std::flush;
    if (!std::cout) {
        throw std::runtime_error(
            "can't write to standard output; make room there, or write to another file");
    }
}

}  // namespace tools
