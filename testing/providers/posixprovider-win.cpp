#include "testing/providers/posixprovider-win.h"

#include <cstddef>
#include <stdexcept>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/processes/childprocess-win.h"
#include "util/windows/libraryfunction-win.h"

namespace testing_support {
namespace {

/// Loads the DLL at the first use and never unloads it: its threads may outlive a test.
HMODULE library() {
    static const HMODULE module = LoadLibraryW((testProgramFolder() / "posixprovider.dll").c_str());
    if (module == nullptr) {
        throw std::runtime_error("posixprovider.dll can't be loaded");
    }
    return module;
}

template <class Function>
Function* find(const char* name) {
    auto* found = findFunction<Function>(library(), name);
    if (found == nullptr) {
        throw std::runtime_error(std::string("posixprovider.dll doesn't export ").append(name));
    }
    return found;
}

/// Returns a function of the DLL.
#define PROVIDER(name) find<decltype(posixprovider_##name)>("posixprovider_" #name)

std::string textOrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

PosixProvider::PosixProvider(const std::string& release) {
    PROVIDER(reset)();
    mEmbedding = PROVIDER(make_embedding)(release.c_str());
}

PosixProvider::~PosixProvider() {
    expectClean();
    PROVIDER(reset)();
}

void PosixProvider::expectClean() {
    if (mEmbedding == nullptr) {
        return;
    }
    PROVIDER(drop_embedding)(mEmbedding);
    mEmbedding = nullptr;
    for (int i = 0; i < POSIXPROVIDER_COUNTERS; ++i) {
        const auto counter = static_cast<Counter>(i);
        EXPECT_EQ(count(counter), 0) << "POSIX " << PROVIDER(counter_name)(counter);
    }
    for (const std::string& fault : faults()) {
        ADD_FAILURE() << "POSIX fault: " << fault;
    }
}

void PosixProvider::disregard() {
    PROVIDER(reset)();
    mEmbedding = nullptr;
}

int PosixProvider::count(Counter counter) const { return PROVIDER(count)(counter); }

std::vector<std::string> PosixProvider::leftovers() const {
    std::vector<std::string> left;
    for (int i = POSIXPROVIDER_COUNT_REFERENCES + 1; i < POSIXPROVIDER_COUNTERS; ++i) {
        const auto counter = static_cast<Counter>(i);
        if (count(counter) != 0) {
            left.push_back(std::string(PROVIDER(counter_name)(counter))
                               .append(": ")
                               .append(std::to_string(count(counter))));
        }
    }
    return left;
}

std::vector<std::string> PosixProvider::faults() const {
    std::vector<std::string> faults;
    while (const char* fault = PROVIDER(fault)(static_cast<int>(faults.size()))) {
        faults.emplace_back(fault);
    }
    return faults;
}

std::vector<std::string> PosixProvider::takeFaults() {
    std::vector<std::string> taken = faults();
    PROVIDER(forget_faults)();
    return taken;
}

int PosixProvider::calls(Entry entry) const { return PROVIDER(calls)(entry); }

void PosixProvider::fail(Entry entry, int nth, int code, bool withResult) {
    if (PROVIDER(fail)(entry, nth, code, withResult ? 1 : 0) == 0) {
        throw std::runtime_error("too many failures are planned");
    }
}

void PosixProvider::raise(int signal) { PROVIDER(raise)(signal); }

bool PosixProvider::isPending(int signal) const { return PROVIDER(is_pending)(signal) != 0; }

bool PosixProvider::isBlocked(int signal) const { return PROVIDER(is_blocked)(signal) != 0; }

uint64_t PosixProvider::disposition(int signal) const { return PROVIDER(disposition)(signal); }

int PosixProvider::delivered(int signal) const { return PROVIDER(delivered)(signal); }

void PosixProvider::addProcess(uint32_t windowsPid, int64_t pid, int64_t group) {
    PROVIDER(add_process)(windowsPid, pid, group);
}

std::vector<PosixProvider::Kill> PosixProvider::kills() const {
    std::vector<Kill> kills;
    const int count = PROVIDER(kill_count)();
    kills.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        kills.push_back({PROVIDER(kill_target)(i), PROVIDER(kill_signal)(i)});
    }
    return kills;
}

void PosixProvider::setClock(posixprovider_clock clock) { PROVIDER(set_clock)(clock); }

void PosixProvider::setTime(Time time) { PROVIDER(set_time)(time.seconds, time.nanoseconds); }

void PosixProvider::advanceTime(Time time) {
    PROVIDER(advance_time)(time.seconds, time.nanoseconds);
}

PosixProvider::Time PosixProvider::time() const {
    Time time = {0, 0};
    PROVIDER(time)(&time.seconds, &time.nanoseconds);
    return time;
}

std::vector<PosixProvider::Time> PosixProvider::times(Entry entry) const {
    std::vector<Time> times;
    Time time = {0, 0};
    while (PROVIDER(time_given)(entry, static_cast<int>(times.size()), &time.seconds,
                                &time.nanoseconds) != 0) {
        times.push_back(time);
    }
    return times;
}

bool PosixProvider::awaitBlocked(Entry entry, int count) const {
    return PROVIDER(await_blocked)(entry, count) != 0;
}

void PosixProvider::setStorageSizes(uint64_t sigset, uint64_t sigaction) {
    PROVIDER(set_storage_sizes)(sigset, sigaction);
}

const void* PosixProvider::storage(Entry entry) const { return PROVIDER(storage)(entry); }

void PosixProvider::setMounts(const std::string& text) { PROVIDER(set_mounts)(text.c_str()); }

std::string PosixProvider::link(const std::string& path) const {
    return textOrEmpty(PROVIDER(link)(path.c_str()));
}

std::string PosixProvider::directory() const { return PROVIDER(directory)(); }

std::string PosixProvider::pathCall() const { return PROVIDER(path_call)(); }

}  // namespace testing_support
