#pragma once

#include <filesystem>
#include <string>

#include "tools/ccdrives/providerentries.h"

namespace testing_support {

/// Takes the provider of ccdrives out of the registry; the other providers stay. Does nothing if it
/// isn't entered. Throws Win32Exception if the registry can't be changed.
void removeProvider();

/// Enters the provider of ccdrives until the scope ends, for child processes of a test, as
/// `ccdrives install` does. The DLL is the one beside the test program unless another is named.
/// Afterwards the provider is entered as it was before, or taken out. At most one object at a time,
/// except for nested ones. Usage:
///
///     const RegisteredProvider provider;
///     if (!provider.problem().empty()) {
///         GTEST_SKIP() << provider.problem();
///     }
///
/// A process reads the registry when its mpr.dll is loaded or first asked, so only processes that
/// are started afterwards see the provider.
class [[nodiscard]] RegisteredProvider {
public:
    explicit RegisteredProvider(const std::filesystem::path& library = {});
    ~RegisteredProvider();
    RegisteredProvider(const RegisteredProvider&) = delete;
    RegisteredProvider& operator=(const RegisteredProvider&) = delete;

    /// Returns why the provider isn't registered; empty if it is.
    const std::string& problem() const { return mProblem; }

private:
    ccdrives::ProviderEntries mBefore;
    std::string mProblem;
};

}  // namespace testing_support
