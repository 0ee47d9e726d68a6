#include "tools/ccquery/journals/askedpaths.h"

#include "util/pathfun.h"

namespace ccquery {

bool AskedPaths::take(const JournalLine& line) {
    const Number number(line.process, line.connection);
    switch (line.operation) {
        case Operation::connect:
            mViewRoots.erase(number);
            if (!line.result.viewRoot.value_or("").empty()) {
                mViewRoots[number] = *line.result.viewRoot;
            }
            break;
        case Operation::disconnect:
            mViewRoots.erase(number);
            break;
        case Operation::probeVobs:
            mProbesVobs = true;
            break;
        case Operation::getElementStatus: {
            const JournalText& path = line.arguments.path;
            if (!path || !isAbsolutePath(*path, windowsPaths)) {
                return false;
            }
            const auto found = mViewRoots.find(number);
            ++mByViewRoot[found == mViewRoots.end() ? "" : found->second][*path];
            break;
        }
        default:
            break;
    }
    return true;
}

}  // namespace ccquery
