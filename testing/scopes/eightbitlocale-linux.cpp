#include <cstddef>
#include <dlfcn.h>

#include "testing/scopes/eightbitlocale.h"

namespace {

// The C library's functions while they are in use, otherwise null.
int (*gCompare)(const char*, const char*) = nullptr;
int (*gCompareCount)(const char*, const char*, size_t) = nullptr;

/// Points `function` to the C library's function. It is the next one of that name, because the
/// sanitizers define the name too.
template <class Function>
void find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace testing_support {

std::optional<std::string> builtLocales() { return NBCC_LOCALES; }

std::string eightBitLocale() { return "en_US.ISO-8859-1"; }

void RuntimeComparisons::use(bool runtimes) noexcept {
    gCompare = nullptr;
    gCompareCount = nullptr;
    if (runtimes) {
        find("strcasecmp", gCompare);
        find("strncasecmp", gCompareCount);
    }
}

}  // namespace testing_support

// The linker redirects the comparisons of the test program here: see util/CMakeLists.txt.
extern "C" {
int __real_strcasecmp(const char* a, const char* b);
int __real_strncasecmp(const char* a, const char* b, size_t count);

int __wrap_strcasecmp(const char* a, const char* b) {
    return gCompare != nullptr ? gCompare(a, b) : __real_strcasecmp(a, b);
}

int __wrap_strncasecmp(const char* a, const char* b, size_t count) {
    return gCompareCount != nullptr ? gCompareCount(a, b, count) : __real_strncasecmp(a, b, count);
}
}
