#pragma once

#include <string>

#include "util/pathfun.h"

namespace testing_support {

/// Makes paths Cygwin's until the scope ends, with drives below the prefix.
class [[nodiscard]] CygwinScope {
public:
    explicit CygwinScope(const std::string& prefix = "/cygdrive/") { setCygwinPaths(true, prefix); }
    ~CygwinScope() { setCygwinPaths(false, ""); }
    CygwinScope(const CygwinScope&) = delete;
    CygwinScope& operator=(const CygwinScope&) = delete;
};

}  // namespace testing_support
