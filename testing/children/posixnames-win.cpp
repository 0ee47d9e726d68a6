#include "testing/children/posixnames-win.h"

#include <algorithm>
#include <cstddef>

#include <windows.h>

namespace child {
namespace {

std::wstring currentFolder() {
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

bool isThere(const std::wstring& name) {
    return GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::wstring withSlashes(std::wstring name) {
    std::replace(name.begin(), name.end(), L'\\', L'/');
    return name;
}

}  // namespace

std::optional<std::wstring> nativeName(const std::wstring& name) {
    if (name.size() >= 2 && name[1] == L':') {
        return withSlashes(name);
    }
    if (!name.starts_with(L'/')) {
        return withSlashes(currentFolder() + L'/' + name);
    }
    const std::wstring root = variable(L"NBCC_POSIX_ROOT");
    if (!isThere(root + name.substr(0, name.find(L'/', 1)))) {
        return std::nullopt;
    }
    return withSlashes(root + name);
}

std::wstring linkFile(const std::wstring& native) { return native + L".lnk"; }

std::wstring variable(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::string utf8(const std::wstring& text) {
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(static_cast<size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr)));
    return narrow;
}

std::wstring wide(const std::string& text) {
    std::wstring result(text.size(), L'\0');
    result.resize(static_cast<size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(),
                            static_cast<int>(result.size()))));
    return result;
}

}  // namespace child
