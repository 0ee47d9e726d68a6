#include <cerrno>
#include <system_error>

#include "util/errortext.h"

// Sockets have no separate errors here, so `which` makes no difference.
std::string errorText(bool withCode, const uint32_t* error, WhichError /*which*/) {
    const int saved = errno;
    const uint32_t number = error != nullptr ? *error : static_cast<uint32_t>(saved);
    std::string text = std::generic_category().message(static_cast<int>(number));
    if (withCode) {
        text.append(" (error code ").append(std::to_string(number)).append(")");
    }
    errno = saved;
    return text;
}
