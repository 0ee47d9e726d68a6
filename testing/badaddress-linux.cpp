#include <csignal>
#include <sys/wait.h>

#include "testing/badaddress.h"

namespace testing_support {
namespace {

// The exit codes of a process after a sanitizer's report: the defaults of `exitcode`.
constexpr int ADDRESS_SANITIZER_EXIT = 1;
constexpr int THREAD_SANITIZER_EXIT = 66;

}  // namespace

bool diedOfABadAddress(int status) {
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGSEGV;
    }
    return WIFEXITED(status) && (WEXITSTATUS(status) == ADDRESS_SANITIZER_EXIT ||
                                 WEXITSTATUS(status) == THREAD_SANITIZER_EXIT);
}

}  // namespace testing_support
