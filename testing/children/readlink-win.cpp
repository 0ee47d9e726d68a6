// readlink NAME: prints the target of the link, on a line; with -n, without a line end. If NAME is
// no link, prints nothing and ends with 1. See posixnames-win.h.

#include <array>
#include <optional>
#include <string>

#include <windows.h>

#include "testing/children/childruntime-win.h"
#include "testing/children/posixnames-win.h"

int wmain(int count, wchar_t** arguments) {
    const bool hasOption = count > 1 && std::wstring(arguments[1]) == L"-n";
    const std::optional<std::wstring> native =
        child::nativeName(count > 1 ? arguments[count - 1] : L"");
    HANDLE file = native ? CreateFileW(child::linkFile(*native).c_str(), GENERIC_READ,
                                       FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)
                         : INVALID_HANDLE_VALUE;
    if (file == INVALID_HANDLE_VALUE) {
        return 1;
    }
    std::array<char, 4096> buffer;
    const std::string content(buffer.data(), child::read(file, buffer.data(), buffer.size()));
    const std::string mark = child::linkMark;
    if (!content.starts_with(mark)) {
        return 1;
    }
    child::print(child::wide(content.substr(mark.size())) + (hasOption ? L"" : L"\r\n"));
    return 0;
}
