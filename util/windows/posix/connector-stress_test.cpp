// Signals from several threads at once.

#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "testing/counts/processresources-win.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "testing/providers/signalhandlers.h"
#include "util/windows/cygwinconnector.h"

namespace {

using cygwin::connector;
using namespace testing_support;

constexpr int senderCount = 4;
constexpr int firstSignal = 50;

/// Each sender has its own signal, and waits for the handler after each one. A lost wake-up blocks
/// the sender for half a minute, and then fails the test.
void sendUntil(std::chrono::steady_clock::time_point end, PosixProvider& provider,
               const connector& c) {
    std::array<SignalCounter, senderCount> counters;
    std::map<int, connector::handler> handlers;
    for (int i = 0; i < senderCount; ++i) {
        handlers[firstSignal + i] = counters[static_cast<size_t>(i)].handler();
    }
    connector receiver(embeddingOf(provider));
    receiver.start_signal_thread(handlers);
    std::vector<std::thread> senders;
    senders.reserve(senderCount);
    for (int i = 0; i < senderCount; ++i) {
        senders.emplace_back([&, i] {
            const SignalCounter& counter = counters[static_cast<size_t>(i)];
            for (int sent = 1; std::chrono::steady_clock::now() < end; ++sent) {
                ASSERT_EQ(c.kill(POSIXPROVIDER_OWN_PID, firstSignal + i), callSucceeded);
                ASSERT_EQ(c.last_error(), 0);
                ASSERT_TRUE(counter.becomes(sent)) << "signal " << sent << " of sender " << i;
            }
        });
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    receiver.stop_signal_thread();
}

TEST(SignalStressSoakTest, NoWakeUpGetsLostAndNothingGrows) {
    using std::chrono::seconds;
    using std::chrono::steady_clock;
    PosixProvider provider;
    {
        const connector c(embeddingOf(provider));
        sendUntil(steady_clock::now() + seconds(2), provider, c);
        const size_t handles = testing_support::handleCount();
        const size_t bytes = testing_support::heapBytes();
        const steady_clock::time_point end = steady_clock::now() + seconds(30);
        while (steady_clock::now() < end) {
            sendUntil(steady_clock::now() + seconds(2), provider, c);
        }
        EXPECT_LE(testing_support::handleCount(), handles + senderCount);
        EXPECT_LE(testing_support::heapBytes(), bytes + 100'000);
    }
    provider.expectClean();
}

}  // namespace
