#pragma once

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <utility>

#include "testing/eventually.h"

namespace testing_support {

/// A thread that a test joins, with a limit on the wait. If the thread doesn't end within half a
/// minute, this is reported on standard error and the test program aborts. The destructor joins the
/// thread at the latest.
class [[nodiscard]] BoundedThread {
public:
    template <class Body>
    explicit BoundedThread(Body body)
        : mEnded(std::make_unique<std::atomic<bool>>(false)),
          mThread([body = std::move(body), ended = mEnded.get()]() mutable {
              body();
              *ended = true;
          }) {}
    BoundedThread(BoundedThread&&) = default;
    ~BoundedThread() {
        if (mThread.joinable()) {
            join();
        }
    }
    BoundedThread(const BoundedThread&) = delete;
    BoundedThread& operator=(const BoundedThread&) = delete;
    BoundedThread& operator=(BoundedThread&&) = delete;

    void join() {
        if (!eventually([this] { return mEnded->load(); })) {
            static_cast<void>(std::fputs("a thread of the test does not end\n", stderr));
            std::abort();
        }
        mThread.join();
    }

private:
    std::unique_ptr<std::atomic<bool>> mEnded;
    std::thread mThread;
};

}  // namespace testing_support
