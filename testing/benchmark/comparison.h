#pragma once

// One row of the benchmark table compares our operation with a peer's, in one run of one process.
//
//     TEST(Benchmark, NormalizePath) {
//         compare({"normalizePath", "copy of the path", 2.0},
//                 [&] { return normalizePath(path); },
//                 [&] { return std::string(path); });
//     }
//
// Both sides take turns, so that a change in the machine's speed affects both. The time of each
// side is the best of its turns: other work on the machine can only add to it. Turns go on until
// the best times of both sides have settled. Every row is measured in each of several passes,
// minutes apart, because a machine can be slow for longer than a row takes.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <limits>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace benchmark {

/// Peers differ between platforms, and so do the limits.
#ifdef _WIN32
inline constexpr bool onWindows = true;
#else
inline constexpr bool onWindows = false;
#endif

struct Row {
    std::string operation;
    std::string peer;
    /// The largest acceptable ratio of our time to the peer's. 2 allows us twice the peer's time;
    /// 0.2 requires us to be five times as fast.
    double limit;
    /// The minimum number of turns in a pass. The times have settled when as many turns in a row
    /// have brought no improvement.
    int rounds = 10;
    /// The nanoseconds by which our time may exceed that limit: for a cost that is the same
    /// regardless of the work that it is added to.
    double allowance = 0;
};

/// Measures one row in one pass. The row is in the table from its first measurement on, with the
/// best times of all passes. Each measurement is announced on standard error when it begins.
class Comparison {
public:
    explicit Comparison(const Row& row);

    /// Returns whether both sides are to take another turn.
    [[nodiscard]] bool goesOn();
    void recordOurs(double nanoseconds) { record(mOurs, nanoseconds); }
    void recordPeers(double nanoseconds) { record(mPeers, nanoseconds); }

private:
    void record(double& best, double nanoseconds);

    int mRounds;
    size_t mRow;
    int mTaken = 0;
    int mLastGain = 0;  ///< the last turn that improved a time
    double mOurs;
    double mPeers;
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

inline const volatile void* volatile gKeptAlive = nullptr;

/// Keeps the compiler from optimising away the computation of `value`.
template <class T>
void keepAlive(const T& value) {
    gKeptAlive = &value;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    gKeptAlive = nullptr;
}

template <class Function>
void callOnce(Function& function) {
    if constexpr (std::is_void_v<decltype(function())>) {
        function();
    } else {
        keepAlive(function());
    }
}

/// Returns the nanoseconds that `function` takes.
template <class Function>
double timeOf(Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
    return time.count();
}

/// Returns the average nanoseconds of one of `calls` calls.
template <class Function>
double timeOfCalls(Function& function, int calls) {
    return timeOf([&] {
               for (int i = 0; i < calls; ++i) {
                   callOnce(function);
               }
           }) /
           calls;
}

/// Returns how many calls make a turn long enough for a clock to measure.
template <class Function>
int callsOfTurn(Function& function) {
    constexpr double turn = 2e6;
    int calls = 1;
    while (calls < 1'000'000 && timeOfCalls(function, calls) * calls < turn) {
        calls *= 2;
    }
    return calls;
}

/// Compares two functions. Each turn makes enough calls to last some milliseconds.
template <class Ours, class Peer>
void compare(const Row& row, Ours ours, Peer peer) {
    const int ourCalls = callsOfTurn(ours);
    const int peerCalls = callsOfTurn(peer);
    for (Comparison comparison(row); comparison.goesOn();) {
        comparison.recordOurs(timeOfCalls(ours, ourCalls));
        comparison.recordPeers(timeOfCalls(peer, peerCalls));
    }
}

/// Compares, call by call, two functions that take an index below `count`. The time of a side is
/// the sum of the smallest times that each index took. For calls that the system may answer several
/// times slower for whole seconds.
template <class Ours, class Peer>
void compareEach(const Row& row, size_t count, Ours ours, Peer peer) {
    constexpr double unmeasured = std::numeric_limits<double>::max();
    std::vector<double> ourTimes(count, unmeasured);
    std::vector<double> peerTimes(count, unmeasured);
    const auto sum = [](const std::vector<double>& times) {
        return std::accumulate(times.begin(), times.end(), 0.0);
    };
    for (Comparison comparison(row); comparison.goesOn();) {
        for (size_t i = 0; i < count; ++i) {
            ourTimes[i] = std::min(ourTimes[i], timeOf([&] { ours(i); }));
            peerTimes[i] = std::min(peerTimes[i], timeOf([&] { peer(i); }));
        }
        comparison.recordOurs(sum(ourTimes));
        comparison.recordPeers(sum(peerTimes));
    }
}

/// Compares, call by call, functions that build something. Destroying the result isn't measured.
template <class Ours, class Peer>
void compareBuilding(const Row& row, Ours ours, Peer peer) {
    const auto time = [](auto& function) {
        decltype(function()) built;
        return timeOf([&] { built = function(); });
    };
    for (Comparison comparison(row); comparison.goesOn();) {
        comparison.recordOurs(time(ours));
        comparison.recordPeers(time(peer));
    }
}

/// Compares two functions call by call. `prepare()` runs before each call and isn't measured. For
/// functions that use up their input, and for calls that the system answers at varying speed.
template <class Prepare, class Ours, class Peer>
void comparePrepared(const Row& row, Prepare prepare, Ours ours, Peer peer) {
    const auto time = [&prepare](auto& function) {
        prepare();
        return timeOf([&] { callOnce(function); });
    };
    for (Comparison comparison(row); comparison.goesOn();) {
        comparison.recordOurs(time(ours));
        comparison.recordPeers(time(peer));
    }
}

}  // namespace benchmark
