// The installation folder in the registry, and the removal of keys.

#include <algorithm>
#include <array>
#include <iterator>

#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system/host-win.h"

namespace {

/// Owns an open key. Doesn't close the keys that Windows predefines.
class RegistryKey {
public:
    RegistryKey() = default;
    ~RegistryKey() { close(); }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    HKEY get() const { return mKey; }
    /// Closes the key, if there is one, and returns the address where a call can store a new one.
    HKEY* receive() {
        close();
        return &mKey;
    }
    void close() {
        if (mKey != nullptr && !isPredefined(mKey)) {
            RegCloseKey(mKey);
        }
        mKey = nullptr;
    }

private:
    static bool isPredefined(HKEY key) {
        const HKEY predefined[] = {HKEY_CLASSES_ROOT,
                                   HKEY_CURRENT_USER,
                                   HKEY_LOCAL_MACHINE,
                                   HKEY_USERS,
                                   HKEY_PERFORMANCE_DATA,
                                   HKEY_PERFORMANCE_TEXT,
                                   HKEY_PERFORMANCE_NLSTEXT,
                                   HKEY_CURRENT_CONFIG,
                                   HKEY_DYN_DATA,
                                   HKEY_CURRENT_USER_LOCAL_SETTINGS};
        return std::find(std::begin(predefined), std::end(predefined), key) != std::end(predefined);
    }

    HKEY mKey = nullptr;
};

bool firstSubKey(HKEY key, std::wstring& name) {
    std::array<wchar_t, MAX_PATH> buffer;
    DWORD length = buffer.size();
    if (RegEnumKeyExW(key, /*dwIndex=*/0, buffer.data(), &length, /*lpReserved=*/nullptr,
                      /*lpClass=*/nullptr, /*lpcchClass=*/nullptr,
                      /*lpftLastWriteTime=*/nullptr) != ERROR_SUCCESS) {
        return false;
    }
    name.assign(buffer.data(), length);
    return true;
}

/// Returns the value "installDir" of the agent's service, or an empty text if there is none.
std::string installedDirectory() {
    RegistryKey key;
    if (RegOpenKeyW(HKEY_LOCAL_MACHINE,
                    L"SYSTEM\\CurrentControlSet\\Services\\NimbrelAgent\\Parameters",
                    key.receive()) != ERROR_SUCCESS) {
        return {};
    }
    std::array<wchar_t, MAX_PATH + 1> text = {};
    DWORD type = REG_NONE;
    DWORD size = sizeof text;
    if (RegQueryValueExW(key.get(), L"installDir", /*lpReserved=*/nullptr, &type,
                         reinterpret_cast<BYTE*>(text.data()), &size) != ERROR_SUCCESS ||
        type != REG_SZ) {
        return {};
    }
    std::wstring directory(text.data(), size / sizeof(wchar_t));
    trimNulls(directory);
    return toUtf8(directory);
}

}  // namespace

std::string System::installationDirectory() {
    const std::string directory = installedDirectory();
    return directory.empty() ? installationFallback() : directory;
}

bool System::deleteKey(HKEY parent, const wchar_t* subKey, std::string* message) {
    if (RegDeleteKeyW(parent, subKey) == ERROR_SUCCESS) {
        return true;
    }
    RegistryKey key;
    const LSTATUS error = RegOpenKeyExW(parent, subKey, /*ulOptions=*/0, KEY_READ, key.receive());
    if (error == ERROR_FILE_NOT_FOUND) {
        return true;
    }
    if (error != ERROR_SUCCESS) {
        if (message != nullptr && message->empty()) {
            const auto number = static_cast<uint32_t>(error);
            *message = "System::deleteKey couldn't delete registry key: ";
            message->append(lastErrorText(/*withCode=*/false, &number, errorOfSystem));
        }
        return false;
    }
    // After a key has been deleted, the next one is the first. A name that comes twice in a row is
    // a key that can't be deleted and isn't found either, such as a link to nowhere: it would come
    // up for ever.
    for (std::wstring last, name; firstSubKey(key.get(), name) && name != last; last = name) {
        if (!deleteKey(key.get(), name.c_str(), message)) {
            return false;
        }
    }
    key.close();
    // Compatibility: a failure here has no message, so callers get false and `*message` as it was.
    return RegDeleteKeyW(parent, subKey) == ERROR_SUCCESS;
}
