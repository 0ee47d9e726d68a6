#include "util/pathroot.h"

#include <algorithm>
#include <cstddef>

CygwinPathMode gCygwinPathMode;

bool beginsWithCygwinDrive(StringSpan path) {
    const std::string& prefix = gCygwinPathMode.drivePrefix;
    const size_t n = prefix.size();
    return path.length > n && path.view().starts_with(prefix) && path.data[n] != '/' &&
           (path.length == n + 1 || path.data[n + 1] == '/');
}

namespace {

char* copyRange(StringSpan path, PathRange range, char* to) {
    return std::copy(path.data + range.begin, path.data + range.end, to);
}

}  // namespace

char* PathRoot::writeText(StringSpan path, char* to) const {
    if (range.end == driveLength) {
        // Not a share. Most paths have a root like this: its two characters are copied without a
        // call.
        std::copy_n(path.data, driveLength, to);
        return to + driveLength;
    }
    if (!isShare()) {
        return copyRange(path, range, to);
    }
    *to++ = '/';
    *to++ = '/';
    to = copyRange(path, server, to);
    *to++ = '/';
    return copyRange(path, share, to);
}

PathRoot findOtherRoot(StringSpan path) {
    PathMarks marks(path);
    return findOtherRoot(marks);
}
