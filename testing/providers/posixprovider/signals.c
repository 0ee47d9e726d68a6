#include <string.h>

#include "testing/providers/posixprovider/provider.h"

struct SigAction {
    struct Object object;
    uint64_t disposition;
};

static unsigned char gSigactionTable[OBJECT_TABLE_SIZE];
static uint64_t gDispositions[POSIXPROVIDER_SIGNALS + 1];  // 0: nothing stored
static int gDelivered[POSIXPROVIDER_SIGNALS + 1];
static uint64_t gPending;
static const void* gSigsetStorage;
static const void* gSigactionStorage;

unsigned char gSigsetTable[OBJECT_TABLE_SIZE];

int isSignal(int signal) { return signal >= 1 && signal <= POSIXPROVIDER_SIGNALS; }

static uint64_t dispositionOf(int signal) {
    return gDispositions[signal] != 0 ? gDispositions[signal] : POSIXPROVIDER_DEFAULT_DISPOSITION;
}

/// Returns whether some thread takes the signal by its disposition. If no thread of the process is
/// known, the process has one that blocks nothing.
static int isDeliverable(int signal) {
    const struct Thread* thread = firstThread();
    int isTaken = thread == NULL;
    for (; thread != NULL; thread = thread->next) {
        if (thread->hasEnded) {
            continue;
        }
        if ((thread->awaits & signalBit(signal)) != 0) {
            return 0;
        }
        isTaken |= (thread->mask & signalBit(signal)) == 0;
    }
    return isTaken;
}

static void deliver(int signal) {
    gPending &= ~signalBit(signal);
    if (dispositionOf(signal) == POSIXPROVIDER_DEFAULT_DISPOSITION &&
        signal != POSIXPROVIDER_SIGCHLD) {
        TerminateProcess(GetCurrentProcess(), (UINT)(128 + signal));
    }
    ++gDelivered[signal];
}

void deliverSignals(void) {
    for (int signal = 1; signal <= POSIXPROVIDER_SIGNALS; ++signal) {
        if ((gPending & signalBit(signal)) != 0 && isDeliverable(signal)) {
            deliver(signal);
        }
    }
}

void raiseSignal(int signal) {
    gPending |= signalBit(signal);
    deliverSignals();
    changed();
}

/// Creates an object in the storage, or elsewhere if it doesn't fit.
static struct Object* makeIn(void* storage, uint64_t storageSize, size_t size,
                             const unsigned char* table, struct Embedding* owner) {
    if ((uintptr_t)storage % 16 != 0) {
        fault("storage at %p", storage);
    }
    if (storageSize != 0) {
        memset(storage, 0xa5, storageSize);
    }
    struct Object* object = size <= storageSize ? storage : keep(size);
    memset(object, 0, size);
    object->table = table;
    object->owner = owner;
    return object;
}

static uint64_t sizeAt(size_t offset) {
    uint64_t size = 0;
    memcpy(&size, gSystemTable + offset, sizeof size);
    return size;
}

static int sigsetInit(void* self, void* storage, void** result) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_SIGSET_INIT);
    *result = NULL;
    gSigsetStorage = storage;
    if (storage == NULL) {
        fault("sigset_init: no storage");
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    if (call.acts) {
        *result =
            makeIn(storage, sizeAt(1080), sizeof(struct SigSet), gSigsetTable, embeddingOf(self));
    }
    return leave(call, 0);
}

static int sigactionInit(void* self, void* storage, void** result) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_SIGACTION_INIT);
    *result = NULL;
    gSigactionStorage = storage;
    if (storage == NULL) {
        fault("sigaction_init: no storage");
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    if (call.acts) {
        struct SigAction* made = (struct SigAction*)(void*)makeIn(
            storage, sizeAt(1096), sizeof *made, gSigactionTable, embeddingOf(self));
        made->disposition = 0;  // none at all: the caller sets it
        *result = made;
    }
    return leave(call, 0);
}

static void* sigsetSystem(void* self) { return systemOf(self, POSIXPROVIDER_SIGSET_SYSTEM); }

static int sigsetAdd(void* self, int signal) {
    struct SigSet* set = self;
    const struct Call call = enter(POSIXPROVIDER_SIGSET_ADD);
    if (!isSignal(signal)) {
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    if (call.acts) {
        set->signals |= signalBit(signal);
    }
    return leave(call, 0);
}

static int sigactionSetHandler(void* self, uint64_t disposition) {
    struct SigAction* action = self;
    const struct Call call = enter(POSIXPROVIDER_SIGACTION_SET_HANDLER);
    if (call.acts) {
        action->disposition = disposition;
    }
    return leave(call, 0);
}

/// Returns whether it is null, or an object with that table. Anything else is a fault.
static int isObject(const struct Object* object, const unsigned char* table) {
    const int isRight = object == NULL || object->table == table;
    if (!isRight) {
        fault("an object of another kind was given");
    }
    return isRight;
}

static int sigactionOf(void* self, int signal, struct SigAction* action, struct SigAction* old) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_SIGACTION);
    if (!isSignal(signal) || !isObject((struct Object*)action, gSigactionTable) ||
        !isObject((struct Object*)old, gSigactionTable)) {
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    if (call.acts) {
        const uint64_t before = dispositionOf(signal);
        if (action != NULL) {
            gDispositions[signal] = action->disposition;
        }
        if (old != NULL) {
            old->disposition = before;
        }
    }
    return leave(call, 0);
}

static int threadSigmask(void* self, int how, struct SigSet* set, struct SigSet* old) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_THREAD_SIGMASK);
    if (set == NULL || !isObject(&set->object, gSigsetTable) ||
        !isObject((struct Object*)old, gSigsetTable) ||
        (how != POSIXPROVIDER_BLOCK && how != POSIXPROVIDER_UNBLOCK)) {
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    if (call.acts) {
        struct Thread* thread = currentThread();
        const uint64_t before = thread->mask;
        thread->mask = how == POSIXPROVIDER_BLOCK ? before | set->signals : before & ~set->signals;
        if (old != NULL) {
            old->signals = before;
        }
        deliverSignals();
    }
    return leave(call, 0);
}

static int lowestSignal(uint64_t signals) {
    int signal = 1;
    while ((signals & signalBit(signal)) == 0) {
        ++signal;
    }
    return signal;
}

static int sigwait(void* self, const struct SigSet* set, int* result) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_SIGWAIT);
    *result = 0;
    if (!call.acts) {
        return leave(call, 0);
    }
    if (set == NULL || !isObject(&set->object, gSigsetTable)) {
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    const uint64_t signals = set->signals;
    const unsigned epoch = gEpoch;
    struct Thread* thread = currentThread();
    thread->awaits = signals;
    while ((gPending & signals) == 0) {
        awaitChange(POSIXPROVIDER_SYSTEM_SIGWAIT, INFINITE);
        if (epoch != gEpoch) {
            return leave(call, POSIXPROVIDER_INTERRUPTED);
        }
    }
    *result = lowestSignal(gPending & signals);
    gPending &= ~signalBit(*result);
    thread->awaits = 0;
    return leave(call, 0);
}

static const char* strsignal(void* self, int signal) {
    static char names[POSIXPROVIDER_SIGNALS + 1][16];
    (void)self;
    leave(enter(POSIXPROVIDER_SYSTEM_STRSIGNAL), 0);
    switch (signal) {
        case POSIXPROVIDER_SIGCHLD:
            return "Child ended";
        case POSIXPROVIDER_SIGINT:
            return "Interrupted";
        case POSIXPROVIDER_SIGTERM:
            return "Terminated";
        case POSIXPROVIDER_SIGUSR2:
            return "User signal two";
        default:
            break;
    }
    if (!isSignal(signal)) {
        return "Unknown signal";
    }
    lockState();
    snprintf(names[signal], sizeof names[signal], "Signal %d", signal);
    unlockState();
    return names[signal];
}

void putSignalEntries(unsigned char* table) {
    clearTable(gSigsetTable, sizeof gSigsetTable);
    PUT_ENTRY(gSigsetTable, 0, sigsetSystem);
    PUT_ENTRY(gSigsetTable, 56, sigsetAdd);
    clearTable(gSigactionTable, sizeof gSigactionTable);
    PUT_ENTRY(gSigactionTable, 40, sigactionSetHandler);
    PUT_ENTRY(table, 240, strsignal);
    PUT_ENTRY(table, 248, sigsetInit);
    PUT_ENTRY(table, 256, sigactionInit);
    PUT_ENTRY(table, 264, sigactionOf);
    PUT_ENTRY(table, 272, sigwait);
    PUT_ENTRY(table, 280, threadSigmask);
}

void resetSignals(void) {
    memset(gDispositions, 0, sizeof gDispositions);
    memset(gDelivered, 0, sizeof gDelivered);
    gPending = 0;
    gSigsetStorage = NULL;
    gSigactionStorage = NULL;
}

void posixprovider_raise(int signal) {
    lockState();
    if (isSignal(signal)) {
        raiseSignal(signal);
    } else {
        fault("there is no signal %d", signal);
    }
    unlockState();
}

int posixprovider_is_pending(int signal) {
    lockState();
    const int isPending = (gPending & signalBit(signal)) != 0;
    unlockState();
    return isPending;
}

int posixprovider_is_blocked(int signal) {
    lockState();
    const struct Thread* thread = findCurrentThread();
    const int isBlocked = thread != NULL && (thread->mask & signalBit(signal)) != 0;
    unlockState();
    return isBlocked;
}

uint64_t posixprovider_disposition(int signal) {
    lockState();
    const uint64_t disposition = dispositionOf(signal);
    unlockState();
    return disposition;
}

int posixprovider_delivered(int signal) {
    lockState();
    const int delivered = gDelivered[signal];
    unlockState();
    return delivered;
}

void posixprovider_set_storage_sizes(uint64_t sigset, uint64_t sigaction) {
    lockState();
    put64(gSystemTable, 1080, sigset);
    put64(gSystemTable, 1096, sigaction);
    unlockState();
}

const void* posixprovider_storage(enum posixprovider_entry entry) {
    lockState();
    const void* storage =
        entry == POSIXPROVIDER_SYSTEM_SIGSET_INIT ? gSigsetStorage : gSigactionStorage;
    unlockState();
    return storage;
}
