#include <csignal>
#include <sys/wait.h>

#include "testing/badaddress.h"

namespace testing_support {
namespace {

// The exit codes of a process after a sanitizer's report: the defaults of `exitcode`.
constexpr int addressSanitizerExit = 1;
constexpr int threadSanitizerExit = 66;

}  // namespace

bool hasTouchedBadAddress(int status) {
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGSEGV;
    }
    return WIFEXITED(status) && (WEXITSTATUS(status) == addressSanitizerExit ||
                                 WEXITSTATUS(status) == threadSanitizerExit);
}

}  // namespace testing_support
