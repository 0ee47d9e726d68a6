#pragma once

// One row of the benchmark table: what we do beside what a peer does, in one run of one process.
//
//     TEST_CASE("normalizePath") {
//         compare({"normalizePath", "copy of the path", 2.0},
//                 [&] { return normalizePath(path); },
//                 [&] { return std::string(path); });
//     }

#define CATCH_CONFIG_ENABLE_BENCHMARKING
#include <chrono>
#include <string>
#include <vector>

#include <catch2/catch.hpp>

namespace benchmark {

struct Row {
    std::string operation;
    std::string peer;
    /// The largest good ratio of our time to the peer's: 2 allows us twice its time, 0.2 asks us
    /// to be five times as fast.
    double limit;
    /// How often both sides take their turn; one does where a measurement takes long.
    int rounds = 5;
    /// So many nanoseconds beyond that are good as well: for what costs the same whatever it adds
    /// to.
    double allowance = 0;
};

/// Takes note of the row whose two benchmarks, `ours` and `peer`, are measured next.
void announce(const Row& row);

inline constexpr const char* OURS = "ours";
inline constexpr const char* PEER = "peer";

/// Measures both in turns, several times over, so that a change of the machine's pace meets both;
/// each side's time is the smallest of its medians. A result that a function returns is kept alive.
template <class Ours, class Peer>
void compare(const Row& row, Ours ours, Peer peer) {
    announce(row);
    for (int round = 0; round < row.rounds; ++round) {
        BENCHMARK(std::string(OURS)) { return ours(); };
        BENCHMARK(std::string(PEER)) { return peer(); };
    }
}

/// The same for functions that build something: taking it down again isn't measured.
template <class Ours, class Peer>
void compareBuilding(const Row& row, Ours ours, Peer peer) {
    announce(row);
    const auto build = [](Catch::Benchmark::Chronometer meter, auto& function) {
        std::vector<decltype(function())> built(static_cast<size_t>(meter.runs()));
        meter.measure([&](int run) { built[static_cast<size_t>(run)] = function(); });
    };
    for (int round = 0; round < row.rounds; ++round) {
        BENCHMARK_ADVANCED(std::string(OURS))(Catch::Benchmark::Chronometer meter) {
            build(meter, ours);
        };
        BENCHMARK_ADVANCED(std::string(PEER))(Catch::Benchmark::Chronometer meter) {
            build(meter, peer);
        };
    }
}

/// Takes down a time for the row announced last.
void record(const char* side, double nanoseconds);

/// The same call by call: `prepare()` comes before each and isn't measured. Each side runs once a
/// round, and its time is the smallest of these. For what uses up what it is given, and for what
/// the system answers now fast, now slowly.
template <class Prepare, class Ours, class Peer>
void comparePrepared(const Row& row, Prepare prepare, Ours ours, Peer peer) {
    announce(row);
    const auto measure = [&prepare](const char* side, auto& function) {
        prepare();
        const auto start = std::chrono::steady_clock::now();
        function();
        const std::chrono::duration<double, std::nano> time =
            std::chrono::steady_clock::now() - start;
        record(side, time.count());
    };
    for (int round = 0; round < row.rounds; ++round) {
        measure(OURS, ours);
        measure(PEER, peer);
    }
}

}  // namespace benchmark
