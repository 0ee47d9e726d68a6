#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "testing/providers/posixprovider/posixprovider.h"

namespace testing_support {

/// The POSIX runtime of testing/providers/posixprovider, loaded from beside the test program, with
/// an embedding of its own. Everything in it starts afresh with the object: one at a time. What
/// uses the embedding has to end before this does. posixprovider.h tells more of each function.
class PosixProvider {
public:
    using Entry = posixprovider_entry;
    using Counter = posixprovider_counter;
    struct Time {
        int64_t seconds;
        int64_t nanoseconds;
        bool operator==(const Time&) const = default;
    };
    struct Kill {
        int64_t target;
        int signal;
        bool operator==(const Kill&) const = default;
    };

    /// `release` is what uname says. Throws std::runtime_error if the DLL can't be loaded.
    explicit PosixProvider(const std::string& release = "1.7.35");
    /// Expects that all is clean, unless that was done, or `disregard` was called.
    ~PosixProvider();
    PosixProvider(const PosixProvider&) = delete;
    PosixProvider& operator=(const PosixProvider&) = delete;

    /// The object of the binary interface; this class holds a reference to it until it ends, or
    /// until expectClean.
    void* embedding() const { return mEmbedding; }
    /// Drops the own reference, and then expects with EXPECT that nothing is alive and that no
    /// fault was counted.
    void expectClean();
    /// Forgets all that there is, for tests that leave something behind on purpose.
    void disregard();

    int count(Counter counter) const;
    /// All that counts something, as "mutexes: 1" for instance, without the references.
    std::vector<std::string> leftovers() const;
    std::vector<std::string> faults() const;
    /// These are expected, and forgotten.
    std::vector<std::string> takeFaults();
    int calls(Entry entry) const;

    /// The next call of the entry fails, without any result.
    void failNext(Entry entry, int code) { fail(entry, 1, code, false); }
    /// The next call does what it does, and fails nonetheless.
    void failNextWithResult(Entry entry, int code) { fail(entry, 1, code, true); }
    void failAlways(Entry entry, int code) { fail(entry, 0, code, false); }
    void fail(Entry entry, int nth, int code, bool withResult);

    void raise(int signal);
    bool isPending(int signal) const;
    bool isBlocked(int signal) const;
    uint64_t disposition(int signal) const;
    int delivered(int signal) const;

    void addProcess(uint32_t windowsPid, int64_t pid, int64_t group);
    std::vector<Kill> kills() const;

    void setClock(posixprovider_clock clock);
    void setTime(Time time);
    void advanceTime(Time time);
    Time time() const;
    /// The deadlines that timedwait was given.
    std::vector<Time> deadlines() const { return times(POSIXPROVIDER_COND_TIMEDWAIT); }
    /// The requests that nanosleep was given.
    std::vector<Time> sleeps() const { return times(POSIXPROVIDER_SYSTEM_NANOSLEEP); }
    /// False if it took longer than ten seconds.
    bool awaitBlocked(Entry entry, int count = 1) const;

    void setStorageSizes(uint64_t sigset, uint64_t sigaction);
    const void* storage(Entry entry) const;

    void setMounts(const std::string& text);
    /// Empty if there is no such link.
    std::string link(const std::string& path) const;
    std::string directory() const;
    std::string pathCall() const;

private:
    std::vector<Time> times(Entry entry) const;

    void* mEmbedding;
};

}  // namespace testing_support
