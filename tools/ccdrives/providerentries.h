#pragma once

// What the registry says about network providers, and what has to change there so that ours is
// entered or taken out. Values in, values out; UTF-8. All keys are below
// HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet.

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace ccdrives {

inline constexpr const char* serviceName = "NbclearcaseDrives";
inline constexpr const char* serviceKey = "Services\\NbclearcaseDrives";
inline constexpr const char* providerKey = "Services\\NbclearcaseDrives\\NetworkProvider";
inline constexpr const char* orderParentKey = "Control\\NetworkProvider";
inline constexpr const char* orderKey = "Control\\NetworkProvider\\Order";
inline constexpr const char* orderValue = "ProviderOrder";
/// Of the service's key: what `install` had to create for the order, so that `remove` can take it
/// away: "ProviderOrder", or the outermost key.
inline constexpr const char* createdValue = "OrderCreated";

/// The part of the registry that matters here.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order of the registry
struct ProviderEntries {
    bool hasOrderParentKey = false;
    bool hasOrderKey = false;
    /// The services of all providers, as in "RDPNP,LanmanWorkstation".
    std::optional<std::string> order = {};
    /// Those of them, apart from ours, that have the name of our provider.
    std::vector<std::string> rivals = {};
    /// Of our service.
    bool hasService = false;
    bool hasProvider = false;
    std::optional<std::string> name = {};
    std::optional<std::string> library = {};
    std::optional<std::string> created = {};
    /// The file that `library` means: with the variables in their places if the value has some.
    std::string libraryFile = {};
    /// The values and keys in our two keys that `install` doesn't enter: another program's.
    std::vector<std::string> othersInService = {};
    std::vector<std::string> othersInProvider = {};
};

struct RegistryChange {
    enum class Kind {
        set,          ///< sets a text, and creates the missing keys on the way
        removeValue,  ///< removes a value, if it is there
        removeKey,    ///< removes a key, if there is nothing in it
    };
    Kind kind = Kind::set;
    std::string key = {};
    std::string value = {};
    std::string text = {};
    std::optional<std::string> before = {};  ///< the text that is replaced or removed

    friend bool operator==(const RegistryChange&, const RegistryChange&) = default;
};
using RegistryChanges = std::vector<RegistryChange>;

/// Another provider has the name of ours, or another program's service the name of our service. The
/// message is one line that says what to do.
class RivalError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Returns the list of services with ours at its end, or as it is if ours is in it, in any case.
[[nodiscard]] std::string withOurService(const std::string& order);
/// Returns the list without our service, in any case. The others stay as they are.
[[nodiscard]] std::string withoutOurService(const std::string& order);

/// Returns what enters our provider, whose DLL is `library`: nothing if it is entered like that.
/// The order of the providers comes last, so that it never names one that isn't described. Throws
/// RivalError.
[[nodiscard]] RegistryChanges changesToInstall(const ProviderEntries& entries,
                                               const std::string& library);

/// Returns what takes our provider out, and undoes everything that entering it has changed, in any
/// state between the two: nothing if there is nothing of it. What another program has entered into
/// our keys stays, and so does a service of our name whose provider has another name.
[[nodiscard]] RegistryChanges changesToRemove(const ProviderEntries& entries);

/// Returns what is missing for the system to find our provider, as one line for the user; empty if
/// nothing is.
[[nodiscard]] std::string missingOf(const ProviderEntries& entries);

/// Returns the change on one line, for the user.
[[nodiscard]] std::string lineOf(const RegistryChange& change);

}  // namespace ccdrives
