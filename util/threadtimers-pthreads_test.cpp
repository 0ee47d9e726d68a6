#include "util/threadtimers-pthreads.h"

#include <atomic>
#include <cstddef>
#include <pthread.h>
#include <set>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace {

bool isListed(const ThreadTimerRecord* wanted) {
    const ThreadTimerRecord* record = gThreadTimerRecords;
    while (record != nullptr && record != wanted) {
        record = record->mNext;
    }
    return record != nullptr;
}

TEST(ThreadTimersTest, TheFieldsOfARecordAreInTheirOrder) {
    static_assert(std::is_standard_layout_v<ThreadTimerRecord>);
    EXPECT_EQ(offsetof(ThreadTimerRecord, mNext), 0U);
    EXPECT_EQ(offsetof(ThreadTimerRecord, mThread), 8U);
    EXPECT_EQ(offsetof(ThreadTimerRecord, mTimers), 16U);
}

TEST(ThreadTimersTest, AThreadHasOneRecordWhichIsListed) {
    ThreadTimerRecord& record = threadTimerRecord();
    EXPECT_EQ(&threadTimerRecord(), &record);
    EXPECT_TRUE(isListed(&record));
}

TEST(ThreadTimersTest, ARecordHasTheHandleThatTheCreatorOfItsThreadHas) {
    uint64_t thread = 0;
    std::thread made([&thread] { thread = threadTimerRecord().mThread; });
    // A handle is a single word in either thread library.
    const uint64_t handle = made.native_handle();
    made.join();
    EXPECT_EQ(thread, handle);
    EXPECT_EQ(threadTimerRecord().mThread, pthread_self());
}

TEST(ThreadTimersTest, ANewRecordIsTheFirstOfTheListAndHasNoTimers) {
    ThreadTimerRecord* const before = gThreadTimerRecords;
    std::thread([before] {
        const ThreadTimerRecord& record = threadTimerRecord();
        EXPECT_EQ(gThreadTimerRecords, &record);
        EXPECT_EQ(record.mNext, before);
        EXPECT_EQ(record.mTimers, nullptr);
    }).join();
}

TEST(ThreadTimersTest, AThreadThatAsksForNothingHasNoRecord) {
    ThreadTimerRecord* const before = gThreadTimerRecords;
    std::thread([] {}).join();
    EXPECT_EQ(gThreadTimerRecords, before);
}

TEST(ThreadTimersTest, TheTimersOfAFinishedThreadCanStillBeRead) {
    ThreadTimerRecord* record = nullptr;
    std::thread([&record] {
        NestedTimer* slot = nullptr;
        addThreadTimer(slot, 17)->add(Ticks(5));
        record = &threadTimerRecord();
    }).join();
    ASSERT_TRUE(isListed(record));
    ASSERT_NE(record->mTimers, nullptr);
    EXPECT_EQ(record->mTimers->mLabel, 17U);
    EXPECT_EQ(record->mTimers->total(), Ticks(5));
    EXPECT_EQ(record->mTimers->mNext, nullptr);
}

TEST(ThreadTimersTest, ATimerIsStoredInItsSlotAndReturned) {
    NestedTimer* slot = nullptr;
    NestedTimer* const timer = addThreadTimer(slot, 0xFFFFFFFFFFFFFFFF);
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(slot, timer);
    EXPECT_EQ(timer->mLabel, 0xFFFFFFFFFFFFFFFF);
    EXPECT_EQ(timer->mDepth, 0U);
    EXPECT_EQ(timer->count(), 0U);
}

TEST(ThreadTimersTest, ATimerGoesToTheFrontOfItsThreadsTimers) {
    std::thread([] {
        NestedTimer* first = nullptr;
        NestedTimer* second = nullptr;
        addThreadTimer(first, 1);
        addThreadTimer(second, 2);
        EXPECT_EQ(threadTimerRecord().mTimers, second);
        EXPECT_EQ(second->mNext, first);
        EXPECT_EQ(first->mNext, nullptr);
    }).join();
}

TEST(ThreadTimersTest, ManyThreadsAtOnceAreAllListed) {
    constexpr size_t numThreads = 16;
    std::vector<ThreadTimerRecord*> records(numThreads);
    std::vector<std::thread> threads;
    threads.reserve(numThreads);
    std::atomic<bool> go{false};
    for (auto& record : records) {
        threads.emplace_back([&record, &go] {
            while (!go) {
                std::this_thread::yield();
            }
            record = &threadTimerRecord();
        });
    }
    go = true;
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto* record : records) {
        EXPECT_TRUE(isListed(record));
    }
    EXPECT_EQ(std::set<ThreadTimerRecord*>(records.begin(), records.end()).size(), numThreads);
}

}  // namespace
