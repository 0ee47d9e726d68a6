#include "clearcase/configurationsource-win.h"

#include "util/windows/environment-win.h"

namespace {

std::string variableOr(const char* name, const char* otherwise) {
    const std::string value = environmentVariable(name).value_or("");
    return value.empty() ? otherwise : value;
}

}  // namespace

std::string configurationFile() {
    return variableOr("NBCLEARCASE_FAKE_INI", "nbclearcase_fake.ini");
}

std::string viewRootPrefix() { return variableOr("CLEARCASE_ROOT", ""); }
