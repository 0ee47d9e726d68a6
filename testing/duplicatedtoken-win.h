#pragma once

#include <boost/shared_ptr.hpp>

#include <windows.h>

#include "util/windows/security/accesstoken-win.h"

namespace testing_support {

/// Returns a new primary token with this process's rights, which nothing else uses.
inline boost::shared_ptr<AccessToken> duplicatedToken() {
    return boost::shared_ptr<AccessToken>(
        new AccessToken(AccessToken(GetCurrentProcess(), TOKEN_DUPLICATE), MAXIMUM_ALLOWED,
                        /*attributes=*/nullptr, SecurityImpersonation, TokenPrimary));
}

}  // namespace testing_support
