#include "util/numberedmessage.h"

#include <ostream>

#include "util/assertion.h"
#include "util/stringformat.h"

std::ostream& operator<<(std::ostream& out, const MessagePrefix& mp) {
    NB_ASSERT(mp.mCode);
    return out << format(32, "%s NB%04d: ", mp.mIsError ? "ERROR" : "WARNING", mp.mCode);
}

// Defined here, so that the table of virtual functions is in one place.
NumberedRuntimeError::~NumberedRuntimeError() = default;
