#pragma once

#include <atomic>
#include <string>
#include <thread>

#include <boost/function.hpp>
#include <gtest/gtest.h>

#include "testing/eventually.h"
#include "testing/providers/posixprovider-win.h"

namespace testing_support {

using SignalHandler = boost::function<void(int)>;

/// Counts the calls of its handler. Must outlive the handler.
class [[nodiscard]] SignalCounter {
public:
    SignalHandler handler() {
        return [this](int signal) {
            mLast = signal;
            ++mCount;
        };
    }
    /// Returns false if that takes longer than half a minute.
    [[nodiscard]] bool becomes(int count) const {
        return eventually([&] { return mCount == count; });
    }
    int count() const { return mCount; }
    int last() const { return mLast; }

private:
    std::atomic<int> mCount{0};
    std::atomic<int> mLast{0};
};

/// A handler whose call doesn't return until the gate is opened, by the destructor at the latest.
class [[nodiscard]] SignalGate {
public:
    SignalGate() = default;
    ~SignalGate() { open(); }
    SignalGate(const SignalGate&) = delete;
    SignalGate& operator=(const SignalGate&) = delete;

    SignalHandler handler() {
        return [this](int) {
            mIsEntered = true;
            while (!mIsOpen) {
                std::this_thread::yield();
            }
        };
    }
    [[nodiscard]] bool isEntered() const {
        return eventually([&] { return mIsEntered.load(); });
    }
    void open() { mIsOpen = true; }

private:
    std::atomic<bool> mIsEntered{false};
    std::atomic<bool> mIsOpen{false};
};

/// Waits until the signal thread waits for a signal.
inline void awaitReceiver(const PosixProvider& provider) {
    ASSERT_TRUE(provider.awaitBlocked(POSIXPROVIDER_SYSTEM_SIGWAIT));
}

/// Returns what `call` writes to standard error.
template <class Call>
std::string printedBy(Call call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

}  // namespace testing_support
