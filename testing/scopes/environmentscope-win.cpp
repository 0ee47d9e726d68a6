#include <cstdlib>

#include "testing/scopes/environmentscope.h"

namespace testing_support {

void EnvironmentScope::setVariable(const std::string& name,
                                   const std::optional<std::string>& value) {
    // Changes both the runtime's copy and the system's.
    _putenv((name + "=" + value.value_or("")).c_str());
}

}  // namespace testing_support
