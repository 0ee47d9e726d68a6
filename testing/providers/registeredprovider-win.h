#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace testing_support {

/// Enters a network provider in the registry, where the system looks for providers: under the
/// service name "MvfsProvider" and the provider name "ClearCase Dynamic Views", after the existing
/// providers. The DLL is testing/providers/mvfsprovider unless another is named. Entering it again
/// replaces the entry. Throws std::system_error if the registry can't be written; this requires an
/// administrator.
///
/// A process reads the registry when its mpr.dll is loaded or first asked, so only processes that
/// are started afterwards see the provider.
void installProvider(std::filesystem::path library = {});

/// Removes that entry; the other providers stay. Does nothing if there is no entry. Throws
/// std::system_error as above.
void removeProvider();

/// Returns the list of provider services `order` (in the registry's form: names separated by
/// commas) with `service` appended, unless the list contains it already, in any case.
std::wstring withService(const std::wstring& order, const std::wstring& service);
/// Returns the list without `service`, in any case.
std::wstring withoutService(const std::wstring& order, const std::wstring& service);

/// Enters a provider until the scope ends, for child processes of a test. Afterwards the registry
/// holds what it held before; keys and values that were missing are missing again. At most one
/// object at a time, except for nested ones. Usage:
///
///     const RegisteredProvider provider;
///     if (!provider.problem().empty()) {
///         GTEST_SKIP() << provider.problem();
///     }
class [[nodiscard]] RegisteredProvider {
public:
    explicit RegisteredProvider(const std::filesystem::path& library = {});
    ~RegisteredProvider();
    RegisteredProvider(const RegisteredProvider&) = delete;
    RegisteredProvider& operator=(const RegisteredProvider&) = delete;

    /// Returns why the provider isn't registered; empty if it is.
    const std::string& problem() const { return mProblem; }

private:
    struct Before;
    std::unique_ptr<Before> mBefore;
    std::string mProblem;
};

}  // namespace testing_support
