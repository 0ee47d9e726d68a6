#include "clearcase/probedfolder.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

std::string probedFolder(const std::string& root, const std::string& tag) {
    std::string folder = root + tag;
    std::replace(folder.begin(), folder.end(), '\\', '/');
    // Compatibility: only the first pair is folded, so a later pair stays, and a UNC path loses one
    // of its slashes.
    const size_t doubled = folder.find("//");
    if (doubled != std::string::npos) {
        folder.erase(doubled, 1);
    }
    if (!folder.empty()) {
        folder[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(folder[0])));
    }
    return folder;
}
