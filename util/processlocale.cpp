#include "util/processlocale.h"

#include <cstdlib>
#include <stdexcept>

namespace {

const std::locale* gProcessLocale = nullptr;

}  // namespace

std::locale localeOrClassic(const char* name) {
    try {
        return std::locale(name != nullptr ? name : "C");
    } catch (const std::runtime_error&) {  // GCOVR_EXCL_BR_LINE: memory may be lacking
        // An unknown name isn't an error.
        return std::locale("C");
    }
}

const std::locale& processLocale() {
    // No lock is needed: `gTouched` creates the locale during static construction, before a second
    // thread can call this.
    if (gProcessLocale == nullptr) {
        gProcessLocale = new std::locale(localeOrClassic(std::getenv("NIMBREL_LOCALE")));
    }
    return *gProcessLocale;
}

namespace {

[[maybe_unused]] const std::locale& gTouched = processLocale();

}  // namespace
