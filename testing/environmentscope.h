#pragma once

#include <optional>
#include <string>

namespace testing_support {

/// Sets an environment variable of this process, or removes it (no value), for the C runtime and
/// the system alike, and puts back what was there when the scope ends. An empty value on Windows
/// removes the variable, as the C runtime has it.
class EnvironmentScope {
public:
    EnvironmentScope(std::string name, const std::optional<std::string>& value);
    ~EnvironmentScope();
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;

private:
    std::string mName;
    std::optional<std::string> mBefore;
};

}  // namespace testing_support
