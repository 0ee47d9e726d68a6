#include "tools/ccquery/journals/journalline.h"

#include <algorithm>
#include <iterator>

namespace ccquery {
namespace {

/// In the order of `Operation`.
constexpr std::string_view operationNames[] = {
    "getOutput",  "getError",       "clearMessages",  "getElementStatus", "canonicalizeViewPath",
    "getViewTag", "probeVobs",      "getProductInfo", "getMvfsDrives",    "startSession",
    "isReady",    "killConnection", "connect",        "disconnect",       "lost",
};

}  // namespace

std::string_view operationName(Operation operation) {
    return operationNames[static_cast<size_t>(operation)];
}

std::optional<Operation> operationNamed(std::string_view name) {
    const auto* const found = std::find(std::begin(operationNames), std::end(operationNames), name);
    if (found == std::end(operationNames)) {
        return std::nullopt;
    }
    return static_cast<Operation>(found - std::begin(operationNames));
}

void JournalFields::clear() {
    for (JournalText* const field :
         {&path, &version, &target, &cwd, &root, &text, &viewRoot, &error, &exceptionType, &what}) {
        field->reset();
    }
    type = 0;
    lines = 0;
    ready = false;
    vobTags.clear();
    results.clear();
    info.clear();
    drives.clear();
}

}  // namespace ccquery
