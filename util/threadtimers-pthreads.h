#pragma once

#include <atomic>
#include <cstdint>

#include "util/timer.h"

/// The timers of one thread. The record is created when the thread first needs one and is never
/// removed, so that the timers of finished threads can still be read. Only its thread adds timers.
struct ThreadTimerRecord {
    /// The record of a thread that had its first timer before this one; null for the last.
    ThreadTimerRecord* mNext = nullptr;
    /// The first word of the thread's pthread_self handle.
    uint64_t mThread = 0;
    /// The newest timer; the others follow by `NestedTimer::mNext`.
    NestedTimer* mTimers = nullptr;
};

/// The records of all threads, newest first; null until there is one. Any thread may walk the list
/// at any time. The timers of a record may be read on its own thread, or after that thread has
/// ended.
extern std::atomic<ThreadTimerRecord*> gThreadTimerRecords;

/// Returns the calling thread's record, which is created and linked on first use. Takes no `Mutex`
/// or `RWLock`, so that a thread that waits for one can call it.
[[nodiscard]] ThreadTimerRecord& threadTimerRecord();

/// Creates a timer, adds it before the calling thread's other timers, stores it in `slot` and
/// returns it. It lives until the process ends. A function that returns a lock's timer has one
/// `slot` per thread:
///
///     NestedTimer* cacheLockTimer() {
///         thread_local NestedTimer* slot = nullptr;
///         return slot != nullptr ? slot : addThreadTimer(slot, cacheLockLabel);
///     }
NestedTimer* addThreadTimer(NestedTimer*& slot, uint64_t label);
