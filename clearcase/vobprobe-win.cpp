#include "clearcase/vobprobe-win.h"

#include <utility>

#include <windows.h>

#include "clearcase/probedfolder.h"
#include "util/windows/system/files-win.h"

namespace {

VobState probe(const std::string& folder) {
    std::string name(MAX_PATH + 1, '\0');
    // Compatibility: uses the narrow call, since the folder is in the system's code page.
    if (GetTempFileNameA(folder.c_str(), "rofscheck", /*uUnique=*/0, name.data()) == 0) {
        return GetLastError() == ERROR_WRITE_PROTECT ? vobReadOnly : vobNotDetermined;
    }
    // The null characters after the name don't matter: Windows stops at the first. A file that
    // can't be removed stays: the folder is writable all the same.
    static_cast<void>(System::remove(name, /*force=*/false));
    return vobWritable;
}

}  // namespace

void probeVobs(const std::vector<VobRecord>& vobs, const std::string& root,
               std::vector<VobRecord>& results) {
    for (const VobRecord& vob : vobs) {
        std::string folder = probedFolder(root, vob.tag);
        const VobState state = probe(folder);
        results.push_back({std::move(folder), state});
    }
}
