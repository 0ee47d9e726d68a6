// The text of a FakeConfiguration. Input: calls, each ended by a record separator (0x1E). A call
// has a letter: `l` for a link, `v` for a VOB; any other is an element, whose type is the distance
// from `a`. Then its path or tag and, after a unit separator (0x1F), the text of the link.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "testing/configurationproperty.h"
#include "util/assertion.h"

namespace {

using testing_support::ConfigurationCall;

ConfigurationCall callOf(std::string_view input) {
    ConfigurationCall call;
    if (input.empty()) {
        return call;
    }
    const char letter = input.front();
    input.remove_prefix(1);
    call.kind = letter == 'l'   ? ConfigurationCall::Kind::link
                : letter == 'v' ? ConfigurationCall::Kind::vob
                                : ConfigurationCall::Kind::element;
    call.type = static_cast<ElementType>(letter - 'a');
    const size_t end = std::min(input.find('\x1f'), input.size());
    call.path = input.substr(0, end);
    call.text = input.substr(std::min(end + 1, input.size()));
    return call;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    std::vector<ConfigurationCall> calls;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('\x1e'), rest.size());
        calls.push_back(callOf(rest.substr(0, end)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    NB_ASSERT(testing_support::againstTheProperty(calls).empty());
    return 0;
}
