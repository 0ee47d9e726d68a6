#include <locale>
#include <stdexcept>

#include "testing/scopes/eightbitlocale.h"

namespace testing_support {

std::optional<std::string> builtLocales() { return std::nullopt; }

std::string eightBitLocale() {
    for (const char* const name : {"English_United States.1252", "German_Germany.1252"}) {
        try {
            const std::locale locale(name);
            if (std::tolower(static_cast<char>(capitalEAcute), locale) ==
                static_cast<char>(smallEAcute)) {
                return name;
            }
        } catch (const std::runtime_error&) {
            continue;
        }
    }
    return {};
}

void RuntimeComparisons::use(bool /*runtimes*/) noexcept {
    // They are always the runtime's.
}

}  // namespace testing_support
