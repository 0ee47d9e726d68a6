#include <stdlib.h>

#include "testing/providers/posixprovider/provider.h"

static struct Thread* gThreads;
static uint64_t gNextThread = POSIXPROVIDER_FIRST_THREAD;

struct Thread* firstThread(void) {
    return gThreads;
}

struct Thread* findCurrentThread(void) {
    struct Thread* thread = gThreads;
    while (thread != NULL && (thread->hasEnded || thread->windowsId != GetCurrentThreadId())) {
        thread = thread->next;
    }
    return thread;
}

static struct Thread* addThread(void) {
    struct Thread* thread = calloc(1, sizeof *thread);
    if (thread == NULL) {
        abort();
    }
    thread->next = gThreads;
    gThreads = thread;
    return thread;
}

struct Thread* currentThread(void) {
    struct Thread* thread = findCurrentThread();
    if (thread == NULL) {
        thread = addThread();
        thread->windowsId = GetCurrentThreadId();
    }
    return thread;
}

static void removeThread(struct Thread* thread) {
    struct Thread** link = &gThreads;
    while (*link != thread) {
        link = &(*link)->next;
    }
    *link = thread->next;
    if (thread->handle != NULL) {
        CloseHandle(thread->handle);
    }
    free(thread);
}

static void endThread(struct Thread* thread) {
    thread->hasEnded = 1;
    changed();
}

void forgetCurrentThread(void) {
    lockState();
    struct Thread* thread = findCurrentThread();
    if (thread != NULL && thread->handle == NULL) {
        removeThread(thread);
    } else if (thread != NULL) {
        endThread(thread);
    }
    unlockState();
}

static DWORD WINAPI runThread(void* argument) {
    struct Thread* thread = argument;
    void* result = thread->start(thread->argument);
    lockState();
    thread->result = result;
    endThread(thread);
    unlockState();
    return 0;
}

static int threadCreate(void* self, uint64_t* result, void* (*start)(void*), void* argument) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_THREAD_CREATE);
    *result = 0;
    if (!call.acts) {
        return leave(call, 0);
    }
    const uint64_t mask = currentThread()->mask;
    struct Thread* thread = addThread();
    thread->id = gNextThread++;
    thread->mask = mask;
    thread->start = start;
    thread->argument = argument;
    thread->owner = embeddingOf(self);
    thread->handle = CreateThread(/*lpThreadAttributes=*/NULL, /*dwStackSize=*/0, runThread, thread,
                                  /*dwCreationFlags=*/0, &thread->windowsId);
    if (thread->handle == NULL) {
        removeThread(thread);
        return leave(call, POSIXPROVIDER_OUT_OF_MEMORY);
    }
    ++thread->owner->objects;
    ++gCounters[POSIXPROVIDER_COUNT_THREADS];
    *result = thread->id;
    return leave(call, 0);
}

static struct Thread* findThread(uint64_t id) {
    struct Thread* thread = gThreads;
    while (thread != NULL && thread->id != id) {
        thread = thread->next;
    }
    return thread;
}

static int threadJoin(void* self, uint64_t id, void** result) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_THREAD_JOIN);
    if (result != NULL) {
        *result = NULL;
    }
    if (!call.acts) {
        return leave(call, 0);
    }
    struct Thread* thread = id != 0 ? findThread(id) : NULL;
    if (thread == NULL || thread == findCurrentThread()) {
        fault("thread_join: no such thread, or the thread itself");
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    const unsigned epoch = gEpoch;
    while (!thread->hasEnded) {
        awaitChange(POSIXPROVIDER_SYSTEM_THREAD_JOIN, INFINITE);
        if (epoch != gEpoch) {
            return leave(call, POSIXPROVIDER_INTERRUPTED);
        }
    }
    if (result != NULL) {
        *result = thread->result;
    }
    --thread->owner->objects;
    --gCounters[POSIXPROVIDER_COUNT_THREADS];
    removeThread(thread);
    return leave(call, 0);
}

void putThreadEntries(unsigned char* table) {
    PUT_ENTRY(table, 296, threadCreate);
    PUT_ENTRY(table, 312, threadJoin);
}

int resetThreads(void) {
    int areRunning = 0;
    struct Thread* thread = gThreads;
    gThreads = NULL;
    while (thread != NULL) {
        struct Thread* next = thread->next;
        if (thread->handle != NULL && !thread->hasEnded) {
            // Its record is never freed: the thread notes its end there.
            CloseHandle(thread->handle);
            areRunning = 1;
        } else {
            if (thread->handle != NULL) {
                CloseHandle(thread->handle);
            }
            free(thread);
        }
        thread = next;
    }
    gNextThread = POSIXPROVIDER_FIRST_THREAD;
    return areRunning;
}
