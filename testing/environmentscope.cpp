#include "testing/environmentscope.h"

#include <cstdlib>
#include <utility>

namespace testing_support {
namespace {

void setVariable(const std::string& name, const std::optional<std::string>& value) {
#ifdef _WIN32
    _putenv((name + "=" + value.value_or("")).c_str());
#else
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
#endif
}

}  // namespace

EnvironmentScope::EnvironmentScope(std::string name, const std::optional<std::string>& value)
    : mName(std::move(name)) {
    if (const char* before = std::getenv(mName.c_str())) {
        mBefore = before;
    }
    setVariable(mName, value);
}

EnvironmentScope::~EnvironmentScope() { setVariable(mName, mBefore); }

}  // namespace testing_support
