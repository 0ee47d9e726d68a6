#pragma once

#include <string>

#include "testing/eventually.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"

namespace testing_support {

/// Makes the directories N/a/b/c in `directory` for each N below `count`. Before each, waits for
/// another process that calls this with `self` and `other` exchanged, so that both make the same
/// directories at once. Throws what System::makePath throws. Returns false if `directory` can't be
/// written to, or if the other process doesn't arrive within half a minute.
[[nodiscard]] inline bool makeChains(const std::string& directory, const std::string& self,
                                     const std::string& other, unsigned long count) {
    for (unsigned long round = 0; round < count; ++round) {
        const std::string start = directory + '/' + std::to_string(round) + '-';
        const auto isThere = [&] { return System::exists(start + other); };
        if (!System::makeDirectory(start + self, /*mode=*/0) || !eventually(isThere)) {
            return false;
        }
        System::makePath((directory + '/' + std::to_string(round) + "/a/b/c").c_str(),
                         /*created=*/nullptr);
    }
    return true;
}

}  // namespace testing_support
