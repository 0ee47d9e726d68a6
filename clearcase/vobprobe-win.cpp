#include "clearcase/vobprobe-win.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include <windows.h>

#include "util/windows/system-files-win.h"

namespace {

VobState probe(const std::string& folder) {
    std::string name(MAX_PATH + 1, '\0');
    if (GetTempFileNameA(folder.c_str(), "rofscheck", /*uUnique=*/0, name.data()) == 0) {
        return GetLastError() == ERROR_WRITE_PROTECT ? vobReadOnly : vobNotDetermined;
    }
    // The name goes with the null characters behind it, which end it where Windows reads it.
    System::remove(name, /*force=*/false);
    return vobWritable;
}

}  // namespace

std::string probedFolder(const std::string& root, const std::string& tag) {
    std::string folder = root + tag;
    std::replace(folder.begin(), folder.end(), '\\', '/');
    // Once only: a later pair stays, and a UNC path loses one of its slashes. Meant.
    const size_t doubled = folder.find("//");
    if (doubled != std::string::npos) {
        folder.erase(doubled, 1);
    }
    if (!folder.empty()) {
        folder[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(folder[0])));
    }
    return folder;
}

void probeVobs(const std::vector<VobRecord>& vobs, const std::string& root,
               std::vector<VobRecord>& results) {
    for (const VobRecord& vob : vobs) {
        std::string folder = probedFolder(root, vob.tag);
        const VobState state = probe(folder);
        results.push_back({std::move(folder), state});
    }
}
