// Examples of docs/utility.md: threads and locks.

#include <ctime>
#include <iostream>
#include <thread>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/condition-pthreads.h"
#include "util/mutex-pthreads.h"
#include "util/rwmonitor-pthreads.h"
#include "util/thread-pthreads.h"
#include "util/threadkey-pthreads.h"

namespace {

using ThreadExampleTest = testing_support::UtilityExampleTest;

TEST_F(ThreadExampleTest, GuardDataWithALock) {
    class Counter {
    public:
        void add() NB_EXCLUDES(mMutex) {
            const MutexLock lock(mMutex);
            std::cout << ++mCount << '\n';
        }

    private:
        Mutex mMutex;
        int mCount NB_GUARDED_BY(mMutex) = 0;
    };
    Counter counter;
    counter.add();
    counter.add();
}

TEST_F(ThreadExampleTest, LetManyThreadsRead) {
    RWLock lock;
    lock.readLock();
    std::cout << lock.tryWriteLock() << '\n';
    lock.unlock();

    Mutex mutex;
    Condition condition;
    RWMonitor monitor(mutex, condition);
    monitor.lockForWrite();
    monitor.unlock();
}

TEST_F(ThreadExampleTest, WaitForAnEvent) {
    Mutex mutex;
    Condition changed;
    bool isReady = false;
    std::thread worker([&] {
        const MutexLock lock(mutex);
        isReady = true;
        changed.broadcast();
    });
    {
        const MutexLock lock(mutex);
        const timespec limit = {std::time(nullptr) + 60, 0};
        while (!isReady && changed.wait(mutex, &limit)) {
        }
        std::cout << isReady << '\n';
    }
    worker.join();
}

TEST_F(ThreadExampleTest, RunAThread) {
    class Worker : public Thread {
        void* run() override {
            MutexLock lock(mMutex);
            while (mStopRequested == 0) {
                mCondition.wait(mMutex);
            }
            std::cout << "stopped\n";
            return nullptr;
        }
    };
    Worker worker;
    worker.start();
    worker.stop();
    worker.join();
}

TEST_F(ThreadExampleTest, KeepAValuePerThread) {
    ThreadKey key([](void* value) { delete static_cast<int*>(value); });
    std::thread([&key] { key.set(new int(1)); }).join();
    std::cout << (key.get() == nullptr) << '\n';
}

}  // namespace
