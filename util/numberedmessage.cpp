#include "util/numberedmessage.h"

#include <ostream>

#include "util/assertion.h"
#include "util/stringformat.h"

std::ostream& operator<<(std::ostream& out, const MessagePrefix& prefix) {
    NB_ASSERT_AS(prefix.mCode != 0, "mp.mCode");
    return out << format(32, "%s NB%04d: ", prefix.mIsError ? "ERROR" : "WARNING", prefix.mCode);
}

// Defined here, so that the table of virtual functions is in one place.
NumberedRuntimeError::~NumberedRuntimeError() = default;
