#include "tools/ccdrives/providersetup-win.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>

#include <windows.h>

#include "tools/ccdrives/drivelist.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/stringutilities.h"
#include "util/windows/libraryfunction-win.h"

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

/// Returns the text with the variables of the environment in their places.
std::string expanded(const std::string& text) {
    const std::wstring wide = toWide(text);
    std::wstring result(ExpandEnvironmentStringsW(wide.c_str(), /*lpDst=*/nullptr, /*nSize=*/0),
                        L'\0');
    result.resize(
        ExpandEnvironmentStringsW(wide.c_str(), result.data(), static_cast<DWORD>(result.size())));
    trimNulls(result);
    return toUtf8(result);
}

/// Calls `next(index, name, size)` for 0, 1 and so on, which writes a name, until there is no more.
template <class Next>
std::vector<std::string> namesBy(const char* call, Next next) {
    constexpr DWORD longestName = 16384;  // of a value, with the null character
    std::vector<std::string> names;
    std::wstring name(longestName, L'\0');
    for (DWORD index = 0;; ++index) {
        DWORD size = longestName;
        const LSTATUS status = next(index, name.data(), &size);
        if (status == ERROR_NO_MORE_ITEMS) {
            return names;
        }
        check(status, call);
        names.push_back(toUtf8(name.substr(0, size)));
    }
}

/// Returns the names of the values and then of the keys in a key, apart from those in `ours`. The
/// value without a name is "(Default)", as the registry editor calls it.
std::vector<std::string> othersIn(const std::string& path, const std::vector<std::string>& ours) {
    const Key key = openKey(path, KEY_READ);
    if (key == nullptr) {
        return {};
    }
    std::vector<std::string> names =
        namesBy("RegEnumValue", [&](DWORD index, wchar_t* name, DWORD* size) {
            return RegEnumValueW(key.get(), index, name, size, /*lpReserved=*/nullptr,
                                 /*lpType=*/nullptr, /*lpData=*/nullptr, /*lpcbData=*/nullptr);
        });
    std::replace(names.begin(), names.end(), std::string(), std::string("(Default)"));
    const std::vector<std::string> keys =
        namesBy("RegEnumKeyEx", [&](DWORD index, wchar_t* name, DWORD* size) {
            return RegEnumKeyExW(key.get(), index, name, size, /*lpReserved=*/nullptr,
                                 /*lpClass=*/nullptr, /*lpcchClass=*/nullptr,
                                 /*lpftLastWriteTime=*/nullptr);
        });
    names.insert(names.end(), keys.begin(), keys.end());
    std::erase_if(names, [&](const std::string& name) {
        return std::any_of(ours.begin(), ours.end(), [&](const std::string& known) {
            return boost::algorithm::iequals(name, known);
        });
    });
    return names;
}

/// Returns the value that is to be changed. Throws if it isn't any more what the change was made
/// for: what another program has entered meanwhile would be lost.
std::optional<Text> readUnchanged(const RegistryChange& change) {
    std::optional<Text> now = readText(change.key, change.value);
    if ((now ? std::optional(now->text) : std::nullopt) != change.before) {
        throw std::runtime_error("another program has changed " + change.key + ", " + change.value +
                                 " meanwhile");
    }
    return now;
}

/// Creates the missing keys on the way.
void setText(const RegistryChange& change) {
    const std::optional<Text> before = readUnchanged(change);
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
            if (readText(change.key, change.value)) {
                static_cast<void>(readUnchanged(change));
            }
            checkRemoved(
                RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, path.c_str(), toWide(change.value).c_str()),
                "RegDeleteKeyValue");
            break;
        default:
            if (isEmpty(change.key)) {
                checkRemoved(RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str()), "RegDeleteKey");
            }
    }
}

/// Whether a service has the name of our provider. What is no text, or can't be read, is no such
/// name: a mistake in another provider's entry doesn't concern us.
bool isRival(const std::string& service) {
    try {
        return textOf("Services\\" + service + "\\NetworkProvider", "Name") == viewProvider;
    } catch (const std::runtime_error&) {
        return false;
    }
}

/// Returns the services in the order, other than ours, that have the name of our provider.
std::vector<std::string> rivalsIn(const std::string& order) {
    const std::string others = withoutOurService(order);
    std::vector<std::string> services;
    split(others, services, ",");
    std::erase_if(services, std::not_fn(isRival));
    return services;
}

ProviderEntries readEntries() {
    ProviderEntries entries{
        .hasOrderParentKey = exists(orderParentKey),
        .hasOrderKey = exists(orderKey),
        .order = textOf(orderKey, orderValue),
        .hasService = exists(serviceKey),
        .hasProvider = exists(providerKey),
        .name = textOf(providerKey, "Name"),
        .created = textOf(serviceKey, createdValue),
        .othersInService = othersIn(serviceKey, {createdValue, "NetworkProvider"}),
        .othersInProvider = othersIn(providerKey, {"Name", "ProviderPath"})};
    if (const std::optional<Text> library = readText(providerKey, "ProviderPath")) {
        entries.library = library->text;
        entries.libraryFile =
            library->type == REG_EXPAND_SZ ? expanded(library->text) : library->text;
    }
    entries.rivals = rivalsIn(entries.order.value_or(""));
    return entries;
}

}  // namespace

ProviderEntries readProviderEntries() {
    try {
        return readEntries();
    } catch (const Win32Exception& error) {
        throw std::runtime_error(
            std::string("the entries of the network providers can't be read: ") + error.what() +
            "; try it as an administrator");
    }
}

bool isProvider(const std::string& library) {
    struct Freer {
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };
    // Nothing of the file runs.
    const std::unique_ptr<std::remove_pointer_t<HMODULE>, Freer> module(
        LoadLibraryExW(toWide(library).c_str(), /*hFile=*/nullptr, DONT_RESOLVE_DLL_REFERENCES));
    return findFunction<DWORD WINAPI(DWORD)>(module.get(), "NPGetCaps") != nullptr;
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
