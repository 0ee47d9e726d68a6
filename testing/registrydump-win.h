#pragma once

#include <string>
#include <vector>

#include <windows.h>

namespace testing_support {

/// Returns a line for each key and value in a key of HKEY_LOCAL_MACHINE, with the types and bytes
/// of the values, in the order of the registry; "no key" if there is none. For comparing.
inline std::wstring registryDump(const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), /*ulOptions=*/0, KEY_READ, &key) !=
        ERROR_SUCCESS) {
        return path + L": no key\n";
    }
    std::wstring dump = path + L"\n";
    std::vector<wchar_t> name(16384);
    std::vector<BYTE> data(65536);
    for (DWORD i = 0;; ++i) {
        auto length = static_cast<DWORD>(name.size());
        auto size = static_cast<DWORD>(data.size());
        DWORD type = REG_NONE;
        if (RegEnumValueW(key, i, name.data(), &length, /*lpReserved=*/nullptr, &type, data.data(),
                          &size) != ERROR_SUCCESS) {
            break;
        }
        dump += path + L", " + name.data() + L" " + std::to_wstring(type);
        for (DWORD k = 0; k < size; ++k) {
            dump += L' ' + std::to_wstring(data[k]);
        }
        dump += L'\n';
    }
    for (DWORD i = 0;; ++i) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, i, name.data(), &length, /*lpReserved=*/nullptr,
                          /*lpClass=*/nullptr, /*lpcchClass=*/nullptr,
                          /*lpftLastWriteTime=*/nullptr) != ERROR_SUCCESS) {
            break;
        }
        dump += registryDump(path + L'\\' + name.data());
    }
    RegCloseKey(key);
    return dump;
}

}  // namespace testing_support
