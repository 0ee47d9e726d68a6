#include "clearcase/probedfolder.h"

#include <algorithm>
#include <cctype>

std::string probedFolder(const std::string& root, const std::string& tag) {
    std::string folder = root + tag;
    std::replace(folder.begin(), folder.end(), '\\', '/');
    // Compatibility: the first pair alone is folded, so that a later one stays and a UNC path loses
    // one of its slashes.
    const size_t doubled = folder.find("//");
    if (doubled != std::string::npos) {
        folder.erase(doubled, 1);
    }
    if (!folder.empty()) {
        folder[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(folder[0])));
    }
    return folder;
}
