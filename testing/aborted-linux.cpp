#include <csignal>
#include <sys/wait.h>

#include "testing/aborted.h"

namespace testing_support {

bool hasAborted(int status) { return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT; }

}  // namespace testing_support
