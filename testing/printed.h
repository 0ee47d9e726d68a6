#pragma once

#include <sstream>
#include <string>

#include "util/escapedoutput.h"

namespace testing_support {

/// Returns what an inserter writes.
template <class Inserted>
std::string printed(const Inserted& inserted) {
    std::ostringstream out;
    out << inserted;
    return out.str();
}

inline const unsigned char* bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

inline std::string dump(const std::string& text, Layout* layout) {
    return printed(HexDump{bytes(text), text.size(), layout});
}

inline std::string quote(const std::string& text, Layout* layout) {
    return printed(Quoted{bytes(text), text.size(), layout});
}

}  // namespace testing_support
