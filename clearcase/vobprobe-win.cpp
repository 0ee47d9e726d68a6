#include "clearcase/vobprobe-win.h"

#include <utility>

#include <windows.h>

#include "clearcase/probedfolder.h"
#include "util/windows/system/files-win.h"

namespace {

VobState probe(const std::string& folder) {
    std::string name(MAX_PATH + 1, '\0');
    // Meant: the narrow call, which takes the folder in the system's code page.
    if (GetTempFileNameA(folder.c_str(), "rofscheck", /*uUnique=*/0, name.data()) == 0) {
        return GetLastError() == ERROR_WRITE_PROTECT ? vobReadOnly : vobNotDetermined;
    }
    // Meant: the name goes with the null characters behind it. The first ends it for Windows.
    System::remove(name, /*force=*/false);
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
