// Linked into every program and library of a coverage build: the counters are written too when a
// process leaves in a way that runs nothing at exit, and when it is stopped at a bad address.

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#endif

// The linker's --wrap gives these names.
extern "C" {
void __gcov_dump();
void __gcov_reset();
[[noreturn]] void __real__exit(int code);
[[noreturn]] void __real__Exit(int code);
[[noreturn]] void __real_abort();
}

namespace {

/// Whether a test has no memory left, or little. The runtime of the counters never ends then.
bool isMemoryShort() {
    constexpr int enough = 100;
    for (int i = 0; i < enough; ++i) {
        void* const block = std::malloc(1);
        if (block == nullptr) {
            return true;
        }
        std::free(block);
    }
    return false;
}

/// Adds the counters to their files, and begins anew: the process may go on.
void writeCounters() {
    if (isMemoryShort()) {
        return;
    }
    __gcov_dump();
    __gcov_reset();
}

#ifdef _WIN32

class BadAddressHandler {
public:
    BadAddressHandler() : mHandler(AddVectoredExceptionHandler(/*First=*/0, handle)) {}
    ~BadAddressHandler() { RemoveVectoredExceptionHandler(mHandler); }
    BadAddressHandler(const BadAddressHandler&) = delete;
    BadAddressHandler& operator=(const BadAddressHandler&) = delete;

private:
    static LONG CALLBACK handle(EXCEPTION_POINTERS* exception) {
        if (exception->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION) {
            writeCounters();
        }
        return EXCEPTION_CONTINUE_SEARCH;
    }

    void* mHandler;
};
const BadAddressHandler gBadAddressHandler;

#else

struct sigaction gFormer;

/// Afterwards the access is tried again, and stops the process as it would have.
void handleBadAddress(int signal) {
    writeCounters();
    sigaction(signal, &gFormer, nullptr);
}

[[maybe_unused]] const int gInstalled = [] {
    struct sigaction action = {};
    action.sa_handler = handleBadAddress;
    return sigaction(SIGSEGV, &action, &gFormer);
}();

#endif

}  // namespace

extern "C" {

[[noreturn]] void __wrap__exit(int code) {
    writeCounters();
    __real__exit(code);
}

[[noreturn]] void __wrap__Exit(int code) {
    writeCounters();
    __real__Exit(code);
}

[[noreturn]] void __wrap_abort() {
    writeCounters();
    __real_abort();
}

}  // extern "C"
