#include "tools/shared/absolutepath-win.h"

#include <algorithm>
#include <stdexcept>

#include "tools/shared/fullpath-win.h"
#include "util/pathfun.h"

namespace tools {

std::string absolutePath(const std::string& path) {
    if (isAbsolutePath(path, windowsPaths)) {
        return path;
    }
    std::string native = path;
    // Wine treats a path with a leading slash as one of its host's.
    std::replace(native.begin(), native.end(), '/', '\\');
    std::string result = fullPath(native);
    if (!isAbsolutePath(result, windowsPaths)) {
        throw std::runtime_error("'" + path +
                                 "' can't be made an absolute path; name a drive, or a server "
                                 "and a share");
    }
    return result;
}

std::string currentDirectory() { return absolutePath("."); }

}  // namespace tools
