#include <cstdlib>

#include "testing/scopes/environmentscope.h"

namespace testing_support {

void EnvironmentScope::setVariable(const std::string& name,
                                   const std::optional<std::string>& value) {
    if (value) {
        setenv(name.c_str(), value->c_str(), /*replace=*/1);
    } else {
        unsetenv(name.c_str());
    }
}

}  // namespace testing_support
