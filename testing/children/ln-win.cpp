// ln -s TARGET NAME: makes a link. Ends with 1 if a link of that name exists, or its folder
// doesn't. See posixnames-win.h.

#include <optional>
#include <string>

#include <windows.h>

#include "testing/children/childruntime-win.h"
#include "testing/children/posixnames-win.h"

int wmain(int count, wchar_t** arguments) {
    if (count != 4 || std::wstring(arguments[1]) != L"-s") {
        child::fail(child::notUnderstood, L"ln -s TARGET NAME");
    }
    const std::optional<std::wstring> native = child::nativeName(arguments[3]);
    HANDLE file = native ? CreateFileW(child::linkFile(*native).c_str(), GENERIC_WRITE, 0, nullptr,
                                       CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)
                         : INVALID_HANDLE_VALUE;
    if (file == INVALID_HANDLE_VALUE) {
        return 1;
    }
    const std::string content = child::linkMark + child::utf8(arguments[2]);
    child::write(file, content.data(), content.size());
    return 0;
}
