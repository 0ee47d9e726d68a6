#include "util/threadtimers-pthreads.h"

#include <cstring>
#include <memory>
#include <pthread.h>

#include "util/threadkey-pthreads.h"

namespace {

using Cell = ThreadTimerRecord*;

std::atomic<ThreadKey*> gRecordKey{nullptr};

/// Frees the key's cell. The record stays in the list for good.
void freeCell(void* cell) {
    delete static_cast<Cell*>(cell);  // GCOVR_EXCL_BR_LINE: it is never null
}

/// The key of the cell that holds a thread's record. Never freed: threads may end at any time.
ThreadKey& recordKey() {
    ThreadKey* key = gRecordKey.load(std::memory_order_acquire);
    if (key == nullptr) {
        // Two threads may both make a key; the second one to finish uses the first one's.
        auto made = std::make_unique<ThreadKey>(&freeCell);
        const bool isFirst =
            gRecordKey.compare_exchange_strong(key, made.get(), std::memory_order_acq_rel);
        if (isFirst) {  // GCOVR_EXCL_BR_LINE: a second thread meanwhile
            key = made.release();
        }
    }
    return *key;
}

uint64_t threadWord() {
    const pthread_t self = pthread_self();
    uint64_t word = 0;
    static_assert(sizeof self >= sizeof word);
    std::memcpy(&word, &self, sizeof word);
    return word;
}

void push(ThreadTimerRecord* record) {
    record->mNext = gThreadTimerRecords.load(std::memory_order_relaxed);
    while (!gThreadTimerRecords.compare_exchange_weak(  // GCOVR_EXCL_BR_LINE: a second thread
        record->mNext, record, std::memory_order_release, std::memory_order_relaxed)) {
    }
}

}  // namespace

std::atomic<ThreadTimerRecord*> gThreadTimerRecords{nullptr};

ThreadTimerRecord& threadTimerRecord() {
    ThreadKey& key = recordKey();
    if (auto* cell = static_cast<Cell*>(key.get())) {
        return **cell;
    }
    auto record = std::make_unique<ThreadTimerRecord>();
    record->mThread = threadWord();
    key.set(new Cell(record.get()));
    push(record.get());
    return *record.release();
}

NestedTimer* addThreadTimer(NestedTimer*& slot, uint64_t label) {
    ThreadTimerRecord& record = threadTimerRecord();
    auto* timer = new NestedTimer;
    timer->mLabel = label;
    timer->mNext = record.mTimers;
    record.mTimers = timer;
    slot = timer;
    return timer;
}
