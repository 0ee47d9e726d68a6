#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace testing_support {

/// Enters a network provider in the registry, where the system looks for providers: under the
/// service name "MvfsProvider" and the provider name "ClearCase Dynamic Views", behind the
/// providers that are there. The DLL is testing/providers/mvfsprovider unless another is named.
/// Entering it again replaces what was entered. Throws std::system_error if the registry can't be
/// written, which takes an administrator.
///
/// A process reads the registry when its mpr.dll is loaded or first asked, so only processes that
/// are started afterwards see the provider.
void installProvider(std::filesystem::path library = {});

/// Takes that entry out again; the other providers stay. Nothing happens if it isn't there. Throws
/// std::system_error as above.
void removeProvider();

/// The list of provider services `order` (the form of the registry: names with commas between them)
/// with `service` behind it, unless it is in there already, in whatever case.
std::wstring withService(const std::wstring& order, const std::wstring& service);
/// The list without `service`, in whatever case.
std::wstring withoutService(const std::wstring& order, const std::wstring& service);

/// The same for the time of a scope, for child processes of a test. Afterwards the registry holds
/// what it held before, missing keys and values included. One such object at a time, the ones
/// nested within it excepted. Usage:
///
///     const RegisteredProvider provider;
///     if (!provider.problem().empty()) {
///         GTEST_SKIP() << provider.problem();
///     }
class RegisteredProvider {
public:
    explicit RegisteredProvider(const std::filesystem::path& library = {});
    ~RegisteredProvider();
    RegisteredProvider(const RegisteredProvider&) = delete;
    RegisteredProvider& operator=(const RegisteredProvider&) = delete;

    /// Why the provider isn't registered; empty if it is.
    const std::string& problem() const { return mProblem; }

private:
    struct Before;
    std::unique_ptr<Before> mBefore;
    std::string mProblem;
};

}  // namespace testing_support
