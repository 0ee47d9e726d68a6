#include "tools/ccdrives/drivesplace-win.h"

#include "tools/shared/fullpath-win.h"
#include "util/windows/environment-win.h"

namespace ccdrives {

std::string drivesFile() {
    std::string named = environmentVariable("NBCLEARCASE_DRIVES").value_or("");
    if (!named.empty()) {
        return tools::fullPath(named);
    }
    const std::string folder = environmentVariable("APPDATA").value_or("");
    return folder.empty() ? folder : folder + "\\nbclearcase\\drives.txt";
}

}  // namespace ccdrives
