#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "testing/providers/posixprovider/posixprovider.h"

namespace testing_support {

/// The POSIX runtime of testing/providers/posixprovider, loaded from the test program's folder,
/// with its own embedding. Everything in it is reset when the object is created, so there may be at
/// most one object at a time. Whatever uses the embedding must end before the object does.
/// posixprovider.h documents each function.
class [[nodiscard]] PosixProvider {
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

    /// `release` is the result of uname. Throws std::runtime_error if the DLL can't be loaded.
    explicit PosixProvider(const std::string& release = "1.7.35");
    /// Calls expectClean, unless that or `disregard` has been called before.
    ~PosixProvider();
    PosixProvider(const PosixProvider&) = delete;
    PosixProvider& operator=(const PosixProvider&) = delete;

    /// Returns the object of the binary interface. This class holds a reference to it until it is
    /// destroyed, or until expectClean.
    void* embedding() const { return mEmbedding; }
    /// Drops its own reference, and then expects with EXPECT that nothing is alive and no fault was
    /// counted.
    void expectClean();
    /// Resets everything, for tests that leave something behind on purpose.
    void disregard();

    int count(Counter counter) const;
    /// Returns all counters that aren't 0, except the references, for instance as "mutexes: 1".
    std::vector<std::string> leftovers() const;
    std::vector<std::string> faults() const;
    /// Returns the faults, which were expected, and forgets them.
    std::vector<std::string> takeFaults();
    int calls(Entry entry) const;

    /// Makes the next call of the entry fail, without any result.
    void failNext(Entry entry, int code) { fail(entry, 1, code, false); }
    /// Makes the next call of the entry fail although it does its work.
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
    /// Returns the deadlines that timedwait was given.
    std::vector<Time> deadlines() const { return times(POSIXPROVIDER_COND_TIMEDWAIT); }
    /// Returns the requests that nanosleep was given.
    std::vector<Time> sleeps() const { return times(POSIXPROVIDER_SYSTEM_NANOSLEEP); }
    /// Returns false if that took longer than ten seconds.
    [[nodiscard]] bool awaitBlocked(Entry entry, int count = 1) const;

    void setStorageSizes(uint64_t sigset, uint64_t sigaction);
    const void* storage(Entry entry) const;

    void setMounts(const std::string& text);
    /// Returns an empty text if there is no such link.
    std::string link(const std::string& path) const;
    std::string directory() const;
    std::string pathCall() const;

private:
    std::vector<Time> times(Entry entry) const;

    void* mEmbedding;
};

}  // namespace testing_support
