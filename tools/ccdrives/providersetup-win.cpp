#include "tools/ccdrives/providersetup-win.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include <windows.h>

#include "tools/ccdrives/drivelist.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/stringutilities.h"

namespace ccdrives {
namespace {

struct KeyCloser {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

void check(LSTATUS status, const char* call) {
    if (status != ERROR_SUCCESS) {
        throw Win32Exception(call, static_cast<uint32_t>(status));
    }
}

std::wstring pathOf(const std::string& key) { return toWide("SYSTEM\\CurrentControlSet\\" + key); }

/// Returns null if there is no such key.
Key openKey(const std::string& path, REGSAM access) {
    HKEY key = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, pathOf(path).c_str(), /*ulOptions=*/0, access, &key);
    if (status != ERROR_FILE_NOT_FOUND) {
        check(status, "RegOpenKeyEx");
    }
    return Key(key);
}

struct Text {
    std::string text;
    DWORD type;
};

/// Returns nothing if there is no such value.
std::optional<Text> readText(const std::string& path, const std::string& value) {
    const Key key = openKey(path, KEY_READ);
    if (key == nullptr) {
        return std::nullopt;
    }
    const std::wstring name = toWide(value);
    DWORD type = REG_NONE;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key.get(), name.c_str(), /*lpReserved=*/nullptr, &type,
                                      /*lpData=*/nullptr, &size);
    if (status == ERROR_FILE_NOT_FOUND) {
        return std::nullopt;
    }
    check(status, "RegQueryValueEx");
    if (type != REG_SZ && type != REG_EXPAND_SZ) {
        throw std::runtime_error("the value " + value + " of HKEY_LOCAL_MACHINE\\SYSTEM\\" +
                                 "CurrentControlSet\\" + path + " is no text; correct it first");
    }
    std::wstring text(size / sizeof(wchar_t) + 1, L'\0');
    check(RegQueryValueExW(key.get(), name.c_str(), /*lpReserved=*/nullptr, &type,
                           reinterpret_cast<BYTE*>(text.data()), &size),
          "RegQueryValueEx");
    trimNulls(text);
    return Text{toUtf8(text), type};
}

std::optional<std::string> textOf(const std::string& path, const std::string& value) {
    std::optional<Text> text = readText(path, value);
    return text ? std::optional(std::move(text->text)) : std::nullopt;
}

bool exists(const std::string& path) { return openKey(path, KEY_READ) != nullptr; }

/// Creates the missing keys on the way.
void setText(const RegistryChange& change) {
    const std::optional<Text> before = readText(change.key, change.value);
    HKEY key = nullptr;
    check(RegCreateKeyExW(HKEY_LOCAL_MACHINE, pathOf(change.key).c_str(), /*Reserved=*/0,
                          /*lpClass=*/nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                          /*lpSecurityAttributes=*/nullptr, &key, /*lpdwDisposition=*/nullptr),
          "RegCreateKeyEx");
    const Key owner(key);
    const std::wstring text = toWide(change.text);
    check(
        RegSetValueExW(key, toWide(change.value).c_str(), /*Reserved=*/0,
                       before ? before->type : REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
        "RegSetValueEx");
}

/// What isn't there is removed already.
void checkRemoved(LSTATUS status, const char* call) {
    if (status != ERROR_FILE_NOT_FOUND) {
        check(status, call);
    }
}

bool isEmpty(const std::string& path) {
    const Key key = openKey(path, KEY_READ);
    DWORD keys = 0;
    DWORD values = 0;
    if (key != nullptr) {
        check(RegQueryInfoKeyW(key.get(), /*lpClass=*/nullptr, /*lpcchClass=*/nullptr,
                               /*lpReserved=*/nullptr, &keys, /*lpcbMaxSubKeyLen=*/nullptr,
                               /*lpcbMaxClassLen=*/nullptr, &values,
                               /*lpcbMaxValueNameLen=*/nullptr, /*lpcbMaxValueLen=*/nullptr,
                               /*lpcbSecurityDescriptor=*/nullptr,
                               /*lpftLastWriteTime=*/nullptr),
              "RegQueryInfoKey");
    }
    return keys == 0 && values == 0;
}

void applyOne(const RegistryChange& change) {
    const std::wstring path = pathOf(change.key);
    switch (change.kind) {
        case RegistryChange::Kind::set:
            setText(change);
            break;
        case RegistryChange::Kind::removeValue:
            checkRemoved(
                RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, path.c_str(), toWide(change.value).c_str()),
                "RegDeleteKeyValue");
            break;
        case RegistryChange::Kind::removeKey:
            if (isEmpty(change.key)) {
                checkRemoved(RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str()), "RegDeleteKey");
            }
            break;
        default:
            checkRemoved(RegDeleteTreeW(HKEY_LOCAL_MACHINE, path.c_str()), "RegDeleteTree");
    }
}

/// Returns the services in the order, other than ours, that have the name of our provider.
std::vector<std::string> rivalsIn(const std::string& order) {
    const std::string others = withoutOurService(order);
    std::vector<std::string> services;
    split(others, services, ",");
    std::erase_if(services, [](const std::string& service) {
        return textOf("Services\\" + service + "\\NetworkProvider", "Name") != viewProvider;
    });
    return services;
}

}  // namespace

ProviderEntries readProviderEntries() {
    ProviderEntries entries{.hasOrderParentKey = exists(orderParentKey),
                            .hasOrderKey = exists(orderKey),
                            .order = textOf(orderKey, orderValue),
                            .hasService = exists(serviceKey),
                            .name = textOf(providerKey, "Name"),
                            .library = textOf(providerKey, "ProviderPath"),
                            .created = textOf(serviceKey, createdValue)};
    entries.rivals = rivalsIn(entries.order.value_or(""));
    return entries;
}

void requireAdministrator() {
    try {
        static_cast<void>(openKey("Services", KEY_CREATE_SUB_KEY));
        static_cast<void>(openKey(orderKey, KEY_SET_VALUE));
    } catch (const Win32Exception& error) {
        if (error.mError != ERROR_ACCESS_DENIED) {
            throw;
        }
        throw std::runtime_error(
            "the registry of the machine can't be changed by this user; run ccdrives as an "
            "administrator");
    }
}

void apply(const RegistryChanges& changes) {
    for (const RegistryChange& change : changes) {
        applyOne(change);
    }
}

}  // namespace ccdrives
