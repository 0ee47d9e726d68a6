#include "testing/providers/registeredprovider-win.h"

#include <cstddef>
#include <optional>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>

#include <windows.h>

#include "testing/processes/childprocess-win.h"

namespace testing_support {
namespace {

constexpr const wchar_t* orderKey = L"SYSTEM\\CurrentControlSet\\Control\\NetworkProvider\\Order";
constexpr const wchar_t* orderValue = L"ProviderOrder";
constexpr const wchar_t* serviceName = L"MvfsProvider";
constexpr const wchar_t* serviceKey = L"SYSTEM\\CurrentControlSet\\Services\\MvfsProvider";
constexpr const wchar_t* providerKey =
    L"SYSTEM\\CurrentControlSet\\Services\\MvfsProvider\\NetworkProvider";

void check(LSTATUS status, const char* call) {
    if (status != ERROR_SUCCESS) {
        throw std::system_error(status, std::system_category(), call);
    }
}

struct KeyCloser {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

/// Returns null if there is no such key.
Key openKey(const std::wstring& path) {
    HKEY key = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), /*ulOptions=*/0, KEY_READ, &key);
    if (status != ERROR_FILE_NOT_FOUND) {
        check(status, "RegOpenKeyEx");
    }
    return Key(key);
}

struct Value {
    DWORD type = REG_NONE;
    std::vector<BYTE> bytes;
};

std::optional<Value> readValue(const std::wstring& path, const wchar_t* name) {
    const Key key = openKey(path);
    if (key == nullptr) {
        return std::nullopt;
    }
    Value value;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key.get(), name, /*lpReserved=*/nullptr, &value.type,
                                      /*lpData=*/nullptr, &size);
    if (status == ERROR_FILE_NOT_FOUND) {
        return std::nullopt;
    }
    check(status, "RegQueryValueEx");
    value.bytes.resize(size);
    check(RegQueryValueExW(key.get(), name, /*lpReserved=*/nullptr, &value.type, value.bytes.data(),
                           &size),
          "RegQueryValueEx");
    return value;
}

/// Creates the missing keys on the way.
void writeValue(const std::wstring& path, const wchar_t* name, const Value& value) {
    HKEY key = nullptr;
    check(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), /*Reserved=*/0, /*lpClass=*/nullptr,
                          REG_OPTION_NON_VOLATILE, KEY_WRITE, /*lpSecurityAttributes=*/nullptr,
                          &key, /*lpdwDisposition=*/nullptr),
          "RegCreateKeyEx");
    const Key owner(key);
    check(RegSetValueExW(key, name, /*Reserved=*/0, value.type, value.bytes.data(),
                         static_cast<DWORD>(value.bytes.size())),
          "RegSetValueEx");
}

void writeText(const std::wstring& path, const wchar_t* name, const std::wstring& text) {
    const auto* bytes = reinterpret_cast<const BYTE*>(text.c_str());
    writeValue(path, name, {REG_SZ, {bytes, bytes + (text.size() + 1) * sizeof(wchar_t)}});
}

std::wstring readText(const std::wstring& path, const wchar_t* name) {
    const std::optional<Value> value = readValue(path, name);
    if (!value) {
        return std::wstring();
    }
    const auto* text = reinterpret_cast<const wchar_t*>(value->bytes.data());
    const std::wstring all(text, value->bytes.size() / sizeof(wchar_t));
    return all.substr(0, all.find(L'\0'));
}

using Services = std::vector<std::wstring>;

Services servicesOf(const std::wstring& order) {
    Services services;
    if (!order.empty()) {
        boost::algorithm::split(services, order, boost::algorithm::is_any_of(L","));
    }
    return services;
}

/// Remembers one value, and restores it when the object is destroyed.
class ValueBefore {
public:
    ValueBefore(std::wstring path, const wchar_t* name)
        : mPath(std::move(path)), mName(name), mValue(readValue(mPath, mName)) {
        for (size_t end = mPath.size(); end != std::wstring::npos;
             end = mPath.rfind(L'\\', end - 1)) {
            const std::wstring key = mPath.substr(0, end);
            if (openKey(key) == nullptr) {
                mMissingKeys.push_back(key);
            }
        }
    }
    ~ValueBefore() {
        try {
            restore();
        } catch (const std::system_error&) {
            // What could be written before can be written now, unless the system is shutting down.
        }
    }
    ValueBefore(const ValueBefore&) = delete;
    ValueBefore& operator=(const ValueBefore&) = delete;

private:
    void restore() const {
        if (mValue) {
            writeValue(mPath, mName, *mValue);
            return;
        }
        RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, mPath.c_str(), mName);
        for (const std::wstring& key : mMissingKeys) {
            RegDeleteKeyW(HKEY_LOCAL_MACHINE, key.c_str());
        }
    }

    std::wstring mPath;
    const wchar_t* mName;
    std::optional<Value> mValue;
    /// The deepest first.
    std::vector<std::wstring> mMissingKeys;
};

}  // namespace

std::wstring withService(const std::wstring& order, const std::wstring& service) {
    Services services = servicesOf(order);
    for (const std::wstring& present : services) {
        if (boost::algorithm::iequals(present, service)) {
            return order;
        }
    }
    services.push_back(service);
    return boost::algorithm::join(services, L",");
}

std::wstring withoutService(const std::wstring& order, const std::wstring& service) {
    Services services = servicesOf(order);
    std::erase_if(services, [&service](const std::wstring& present) {
        return boost::algorithm::iequals(present, service);
    });
    return boost::algorithm::join(services, L",");
}

void installProvider(std::filesystem::path library) {
    if (library.empty()) {
        library = testProgramFolder() / "mvfsprovider.dll";
    }
    writeText(providerKey, L"Name", L"ClearCase Dynamic Views");
    writeText(providerKey, L"ProviderPath", library.make_preferred().wstring());
    writeText(orderKey, orderValue, withService(readText(orderKey, orderValue), serviceName));
}

void removeProvider() {
    const std::wstring order = readText(orderKey, orderValue);
    const std::wstring rest = withoutService(order, serviceName);
    if (rest != order) {
        writeText(orderKey, orderValue, rest);
    }
    const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, serviceKey);
    if (status != ERROR_FILE_NOT_FOUND) {
        check(status, "RegDeleteTree");
    }
}

struct RegisteredProvider::Before {
    ValueBefore order{orderKey, orderValue};
    ValueBefore name{providerKey, L"Name"};
    ValueBefore path{providerKey, L"ProviderPath"};
};

RegisteredProvider::RegisteredProvider(const std::filesystem::path& library) {
    try {
        mBefore = std::make_unique<Before>();
        installProvider(library);
    } catch (const std::system_error& error) {
        mBefore.reset();
        mProblem = std::string("no network provider can be registered here: ") + error.what();
    }
}

RegisteredProvider::~RegisteredProvider() = default;

}  // namespace testing_support
