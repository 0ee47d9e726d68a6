// A child for tests. Its first argument says what it does. Text is written as UTF-8, untranslated:
//
//     arguments ARG...    each argument on a line of its own
//     variable NAME       the environment variable, or "(not set)"
//     folder              the current directory
//     input               how many bytes standard input holds
//     flood COUNT         COUNT bytes to standard output, then as many to standard error
//     exit CODE           nothing but the exit code
//
// Anything else fails.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <iostream>
#include <string>

namespace {

void print(const std::wstring& text) {
    const std::u8string utf8 = std::filesystem::path(text).u8string();
    std::cout.write(reinterpret_cast<const char*>(utf8.data()),
                    static_cast<std::streamsize>(utf8.size()));
}

size_t inputSize() {
    size_t size = 0;
    while (std::getchar() != EOF) {
        ++size;
    }
    return size;
}

void flood(size_t count) {
    const std::string text(count, 'x');
    std::cout << text << std::flush;
    std::cerr << text;
}

int run(const std::wstring& what, const wchar_t* const* arguments) {
    const bool hasArgument = *arguments != nullptr;
    if (what == L"arguments") {
        for (; *arguments != nullptr; ++arguments) {
            print(std::wstring(*arguments) + L'\n');
        }
    } else if (what == L"folder") {
        print(std::filesystem::current_path().wstring());
    } else if (what == L"input") {
        print(std::to_wstring(inputSize()));
    } else if (hasArgument && what == L"variable") {
        const wchar_t* value = _wgetenv(*arguments);
        print(value != nullptr ? value : L"(not set)");
    } else if (hasArgument && what == L"flood") {
        flood(std::stoul(*arguments));
    } else if (hasArgument && what == L"exit") {
        return std::stoi(*arguments);
    } else {
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

}  // namespace

int wmain(int, wchar_t** arguments) {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    return arguments[1] == nullptr ? EXIT_FAILURE : run(arguments[1], arguments + 2);
}
