// The release text of a POSIX runtime. Input: the text.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "util/assertion.h"
#include "util/cygwinversion.h"

namespace {

/// Whether the text is safe for scanf: no number has more digits than an int certainly holds.
bool hasShortNumbers(const std::string& text) {
    size_t digits = 0;
    for (const char c : text) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        if (digits > 9) {
            return false;
        }
    }
    return true;
}

void checkAgainstScanf(const std::string& text,
                       const std::optional<cygwin::runtime_version>& version) {
    int major = 0;
    int minor = 0;
    int patch = 0;
    // NOLINTNEXTLINE(cert-err34-c): the model to compare with
    const int count = std::sscanf(text.c_str(), "%d.%d.%d", &major, &minor, &patch);
    NB_ASSERT(version.has_value() == (count == 3));
    if (version) {
        const auto release = static_cast<uint16_t>(static_cast<unsigned>(major) * 1000U +
                                                   static_cast<unsigned>(minor));
        NB_ASSERT(version->release == release);
        NB_ASSERT(version->patch == static_cast<uint16_t>(patch));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::optional<cygwin::runtime_version> version = cygwin::parse_release(text.c_str());
    if (hasShortNumbers(text)) {
        checkAgainstScanf(text, version);
    }
    if (version) {
        const std::string printed = cygwin::version_text(*version);
        const auto again = cygwin::parse_release(printed.c_str());
        NB_ASSERT(again && again->release == version->release && again->patch == version->patch);
        NB_ASSERT(cygwin::parse_release((printed + "(0.287/5/3)").c_str()));
    }
    return 0;
}
