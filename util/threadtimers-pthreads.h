#pragma once

#include <atomic>
#include <cstdint>

#include "util/timer.h"

/// The timers of one thread. Made when the thread first needs one and never removed, so that the
/// timers of finished threads can still be read. Only its thread adds timers.
struct ThreadTimerRecord {
    ThreadTimerRecord* mNext = nullptr;
    /// The first word of the thread's pthread_self handle.
    uint64_t mThread = 0;
    /// The newest timer; the others follow by `NestedTimer::mNext`.
    NestedTimer* mTimers = nullptr;
};

/// The records of all threads, newest first, null as long as there is none. Any thread may walk
/// the list at any time; what hangs on a record is safe to read once its thread has ended, or on
/// that thread.
extern std::atomic<ThreadTimerRecord*> gThreadTimerRecords;

/// The calling thread's record, made and linked in on first use. Takes no `Mutex` or `RWLock`, so
/// that it serves a thread that waits for one.
ThreadTimerRecord& threadTimerRecord();

/// Makes a timer, puts it in front of the calling thread's timers, stores it in `slot` and returns
/// it. It lives to the end of the process. A getter of a lock's timer keeps `slot` for each thread:
///
///     NestedTimer* cacheLockTimer() {
///         thread_local NestedTimer* slot = nullptr;
///         return slot != nullptr ? slot : addThreadTimer(slot, cacheLockLabel);
///     }
NestedTimer* addThreadTimer(NestedTimer*& slot, uint64_t label);
