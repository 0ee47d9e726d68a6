#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace testing_support {

/// Sets an environment variable of this process, or removes it (no value), for both the C runtime
/// and the system, and restores it when the scope ends. On Windows, the name and the values are in
/// the ANSI code page, not UTF-8, and an empty value removes the variable, as in the C runtime. No
/// other thread may read the environment while the object is created or destroyed.
class [[nodiscard]] EnvironmentScope {
public:
    EnvironmentScope(std::string name, const std::optional<std::string>& value)
        : mName(std::move(name)) {
        if (const char* before = std::getenv(mName.c_str())) {
            mBefore = before;
        }
        setVariable(mName, value);
    }
    ~EnvironmentScope() { setVariable(mName, mBefore); }
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;

private:
    static void setVariable(const std::string& name, const std::optional<std::string>& value);

    std::string mName;
    std::optional<std::string> mBefore;
};

}  // namespace testing_support
