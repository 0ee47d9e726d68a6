#pragma once

#include <string>

#include "util/windows/system/trees-win.h"

namespace testing_support {

/// The result of a removal.
struct Removal {
    bool result;
    std::string message;
};

/// Calls System::removeTree with an empty message, without closing handles or waiting.
inline Removal removeTree(const std::string& path, bool keepRoot = false) {
    Removal removal;
    removal.result = System::removeTree(path, removal.message, keepRoot,
                                        /*closeSystemHandles=*/false, /*waitUntilGone=*/false);
    return removal;
}

}  // namespace testing_support
