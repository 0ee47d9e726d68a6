#include "util/windows/exec/runinfo.h"

void ExecRunInfo::clearRedirections() {
    mStdinFile.clear();
    mStdoutFile.clear();
    mStderrFile.clear();
    mStdoutMode = streamOutput;
    mStderrMode = streamError;
}
