#include "tools/ccdrives/drivesplace-win.h"

#include "util/windows/environment-win.h"

namespace ccdrives {

std::string drivesFile() {
    std::string named = environmentVariable("NBCLEARCASE_DRIVES").value_or("");
    if (!named.empty()) {
        return named;
    }
    const std::string folder = environmentVariable("APPDATA").value_or("");
    return folder.empty() ? folder : folder + "\\nbclearcase\\drives.txt";
}

}  // namespace ccdrives
