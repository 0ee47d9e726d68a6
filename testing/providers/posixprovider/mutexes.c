#include "testing/providers/posixprovider/provider.h"

struct Mutex {
    struct Object object;
    DWORD owner;  // the thread's Windows id; 0 if the mutex is free
    int waiters;
};

struct Cond {
    struct Object object;
    unsigned broadcasts;
    int waiters;
};

static unsigned char gMutexTable[OBJECT_TABLE_SIZE];
static unsigned char gCondTable[OBJECT_TABLE_SIZE];

static void* mutexSystem(void* self) { return systemOf(self, POSIXPROVIDER_MUTEX_SYSTEM); }

static void* condSystem(void* self) { return systemOf(self, POSIXPROVIDER_COND_SYSTEM); }

static int mutexCreate(void* self, void** result) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_MUTEX_CREATE);
    *result = call.acts ? makeObject(sizeof(struct Mutex), gMutexTable, POSIXPROVIDER_COUNT_MUTEXES,
                                     embeddingOf(self))
                        : NULL;
    return leave(call, 0);
}

static int condCreate(void* self, void** result) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_COND_CREATE);
    *result = call.acts ? makeObject(sizeof(struct Cond), gCondTable, POSIXPROVIDER_COUNT_CONDS,
                                     embeddingOf(self))
                        : NULL;
    return leave(call, 0);
}

static int mutexDisown(void* self, void** holder, void** errors) {
    struct Mutex* mutex = self;
    const struct Call call = enter(POSIXPROVIDER_MUTEX_DISOWN);
    if (mutex->owner != 0 || mutex->waiters != 0) {
        fault("a mutex was ended while it was locked");
    }
    emptyHolder(self, holder);
    endObject(self);
    return leaveEnded(call, mutex->object.owner, errors);
}

static int condDisown(void* self, void** holder, void** errors) {
    struct Cond* cond = self;
    const struct Call call = enter(POSIXPROVIDER_COND_DISOWN);
    if (cond->waiters != 0) {
        fault("a cond was ended while it was waited for");
    }
    emptyHolder(self, holder);
    endObject(self);
    return leaveEnded(call, cond->object.owner, errors);
}

/// Waits until the mutex is free, and acquires it. Returns 0 if a reset came first.
static int acquire(struct Mutex* mutex, enum posixprovider_entry entry) {
    const unsigned epoch = gEpoch;
    ++mutex->waiters;
    while (mutex->owner != 0) {
        awaitChange(entry, INFINITE);
        if (epoch != gEpoch) {
            return 0;
        }
    }
    --mutex->waiters;
    mutex->owner = GetCurrentThreadId();
    return 1;
}

static void giveBack(struct Mutex* mutex) {
    mutex->owner = 0;
    changed();
}

static int mutexLock(void* self) {
    struct Mutex* mutex = self;
    const struct Call call = enter(POSIXPROVIDER_MUTEX_LOCK);
    if (!call.acts) {
        return leave(call, 0);
    }
    if (mutex->owner == GetCurrentThreadId()) {
        fault("a mutex was locked by its owner");
        return leave(call, POSIXPROVIDER_DEADLOCK);
    }
    return leave(call, acquire(mutex, POSIXPROVIDER_MUTEX_LOCK) ? 0 : POSIXPROVIDER_INTERRUPTED);
}

static int mutexUnlock(void* self) {
    struct Mutex* mutex = self;
    const struct Call call = enter(POSIXPROVIDER_MUTEX_UNLOCK);
    if (!call.acts) {
        return leave(call, 0);
    }
    if (mutex->owner != GetCurrentThreadId()) {
        fault("a mutex was unlocked by another thread than its owner");
        return leave(call, POSIXPROVIDER_NOT_PERMITTED);
    }
    giveBack(mutex);
    return leave(call, 0);
}

static int condBroadcast(void* self) {
    struct Cond* cond = self;
    const struct Call call = enter(POSIXPROVIDER_COND_BROADCAST);
    if (call.acts) {
        ++cond->broadcasts;
        changed();
    }
    return leave(call, 0);
}

/// Waits for a broadcast, while the mutex is released. Returns 0, or the error code if there was
/// none.
static int awaitBroadcast(struct Cond* cond, const struct Mutex* mutex,
                          const struct Time* deadline) {
    const unsigned epoch = gEpoch;
    const unsigned broadcasts = cond->broadcasts;
    while (cond->broadcasts == broadcasts) {
        if (isPast(deadline)) {
            return POSIXPROVIDER_TIMED_OUT;
        }
        if (mutex->owner == 0 && mutex->waiters == 0 && leapTo(deadline)) {
            continue;
        }
        awaitChange(POSIXPROVIDER_COND_TIMEDWAIT, millisecondsUntil(deadline));
        if (epoch != gEpoch) {
            return POSIXPROVIDER_INTERRUPTED;
        }
    }
    return 0;
}

static int condTimedwait(void* self, void* other, const struct Time* deadline) {
    struct Cond* cond = self;
    struct Mutex* mutex = other;
    const struct Call call = enter(POSIXPROVIDER_COND_TIMEDWAIT);
    noteTime(POSIXPROVIDER_COND_TIMEDWAIT, deadline);
    if (!call.acts) {
        return leave(call, 0);
    }
    if (mutex->object.table != gMutexTable || mutex->owner != GetCurrentThreadId()) {
        fault("timedwait: the mutex is no mutex, or not locked by the thread");
        return leave(call, POSIXPROVIDER_NOT_PERMITTED);
    }
    ++cond->waiters;
    giveBack(mutex);
    const int code = awaitBroadcast(cond, mutex, deadline);
    if (code != POSIXPROVIDER_INTERRUPTED) {
        --cond->waiters;
        if (!acquire(mutex, POSIXPROVIDER_COND_TIMEDWAIT)) {
            return leave(call, POSIXPROVIDER_INTERRUPTED);
        }
    }
    return leave(call, code);
}

void putMutexEntries(unsigned char* table) {
    clearTable(gMutexTable, sizeof gMutexTable);
    PUT_ENTRY(gMutexTable, 0, mutexSystem);
    PUT_ENTRY(gMutexTable, 16, mutexDisown);
    PUT_ENTRY(gMutexTable, 24, mutexUnlock);
    PUT_ENTRY(gMutexTable, 32, mutexLock);
    clearTable(gCondTable, sizeof gCondTable);
    PUT_ENTRY(gCondTable, 0, condSystem);
    PUT_ENTRY(gCondTable, 16, condDisown);
    PUT_ENTRY(gCondTable, 24, condBroadcast);
    PUT_ENTRY(gCondTable, 48, condTimedwait);
    PUT_ENTRY(table, 360, mutexCreate);
    PUT_ENTRY(table, 392, condCreate);
}
