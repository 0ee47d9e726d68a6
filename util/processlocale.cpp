#include "util/processlocale.h"

#include <cstdlib>
#include <stdexcept>

namespace {

const std::locale* gProcessLocale = nullptr;

const std::locale* makeProcessLocale() {
    const char* name = std::getenv("NIMBREL_LOCALE");
    try {
        return new std::locale(name != nullptr ? name : "C");
    } catch (const std::runtime_error&) {
        // A name that no locale has is nobody's error: the "C" locale stands in, without a word.
        return new std::locale("C");
    }
}

}  // namespace

const std::locale& processLocale() {
    // No lock: the initialiser below runs before any thread of the library does.
    if (gProcessLocale == nullptr) {
        gProcessLocale = makeProcessLocale();
    }
    return *gProcessLocale;
}

namespace {

[[maybe_unused]] const std::locale& gTouched = processLocale();

}  // namespace
