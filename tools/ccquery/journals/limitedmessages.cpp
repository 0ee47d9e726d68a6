#include "tools/ccquery/journals/limitedmessages.h"

namespace ccquery {

void LimitedMessages::add(const std::string& kind, const std::string& message) {
    if (++mCounts[kind] <= limit) {
        mComplain(message);
    }
}

void LimitedMessages::finish() {
    for (auto& [kind, count] : mCounts) {
        if (count > limit) {
            mComplain("and " + std::to_string(count - limit) + " more " + kind);
            count = limit;
        }
    }
}

}  // namespace ccquery
