#pragma once

// What the sources of the provider share. Everything is guarded by one lock: functions are called
// with it held unless told otherwise. All memory is kept until the next reset, so that the use of
// an object that has ended is counted as a fault and does no harm.

#include <stdio.h>

#include <windows.h>

#include "testing/providers/posixprovider/posixprovider.h"

struct Time {
    int64_t seconds;
    int64_t nanoseconds;
};

struct Text {
    const char* data;
    size_t length;
};

// calls.c: the lock, and what all entries do.

void lockState(void);
void unlockState(void);

struct Call {
    int code;  // what the test told it to fail with, or 0
    int acts;  // does it do anything, and hand over its result?
};
/// The begin of an entry: takes the lock and counts the call.
struct Call enter(enum posixprovider_entry entry);
/// The end of an entry: gives the lock back. Returns the code that the entry is to return.
int leave(struct Call call, int code);
/// Counts a fault.
void fault(const char* format, ...) __attribute__((format(__MINGW_PRINTF_FORMAT, 1, 2)));
void resetCalls(void);

// waits.c: one condition for all that anybody waits for.

/// Which reset was the last. A wait in which it changes ends with POSIXPROVIDER_INTERRUPTED, and
/// must not touch any object any more.
extern unsigned gEpoch;
/// Something happened that somebody may wait for.
void changed(void);
/// Waits for that, with the lock given back meanwhile; the thread counts as blocked in the entry.
void awaitChange(enum posixprovider_entry entry, DWORD milliseconds);

// objects.c

enum { SYSTEM_TABLE_SIZE = 1408, OBJECT_TABLE_SIZE = 96 };

struct Embedding {
    const unsigned char* table;
    const unsigned char* systemTable;
    int references;
    int objects;  // that it has made and that are alive
    const char* release;
    struct Embedding* next;
};

struct Object {
    const unsigned char* table;
    struct Embedding* owner;
    enum posixprovider_counter counter;
};

extern int gCounters[POSIXPROVIDER_COUNTERS];
/// The table of whatever has ended.
extern unsigned char gEndedTable[SYSTEM_TABLE_SIZE];

typedef void (*AnyEntry)(void);
void putEntry(unsigned char* table, size_t offset, AnyEntry entry);
#define PUT_ENTRY(table, offset, function) putEntry((table), (offset), (AnyEntry)(function))
void put32(unsigned char* table, size_t offset, int32_t value);
void put64(unsigned char* table, size_t offset, uint64_t value);
/// A call of any other entry of the table is a fault.
void clearTable(unsigned char* table, size_t size);

/// Zeroed memory that is kept until the next reset.
void* keep(size_t size);
char* keepText(const char* data, size_t length);
/// The memory stays for good if threads may still use it.
void resetObjects(int isInUse);

void* makeObject(size_t size, const unsigned char* table, enum posixprovider_counter counter,
                 struct Embedding* owner);
/// `object` may be any struct that begins with a struct Object.
void endObject(void* object);
/// Takes the object out of its holder; another object there, or no holder, is a fault.
void emptyHolder(void* object, void** holder);
/// As leave, for entries that end an object: a failure comes with a counted reference.
int leaveEnded(struct Call call, struct Embedding* owner, void** errors);
/// The entry `system` of most objects: this counts it.
void* systemOf(void* object, enum posixprovider_entry entry);

/// The embedding that this is the system of.
static inline struct Embedding* embeddingOf(void* system) {
    return (struct Embedding*)(void*)((unsigned char*)system - sizeof(void*));
}

// embedding.c

extern unsigned char gEmbeddingTable[OBJECT_TABLE_SIZE];
extern unsigned char gSystemTable[SYSTEM_TABLE_SIZE];
void addReference(struct Embedding* embedding);
void resetEmbeddings(void);

// signals.c

struct SigSet {
    struct Object object;
    uint64_t signals;
};
extern unsigned char gSigsetTable[OBJECT_TABLE_SIZE];
static inline uint64_t signalBit(int signal) { return UINT64_C(1) << (signal - 1); }
int isSignal(int signal);
void raiseSignal(int signal);
/// Acts on the pending signals that nobody blocks or waits for. That may end the process.
void deliverSignals(void);
void putSignalEntries(unsigned char* table);
void resetSignals(void);

// threads.c

struct Thread {
    uint64_t id;
    DWORD windowsId;
    HANDLE handle;    // null: not made by thread_create
    uint64_t mask;    // the signals that it blocks
    uint64_t awaits;  // the signals that it is waiting for
    void* (*start)(void*);
    void* argument;
    void* result;
    struct Embedding* owner;
    int hasEnded;
    struct Thread* next;
};
/// The record of the calling thread; made, with an empty mask, if there is none.
struct Thread* currentThread(void);
/// Null if there is none.
struct Thread* findCurrentThread(void);
struct Thread* firstThread(void);
/// The calling thread is about to end.
void forgetCurrentThread(void);
void putThreadEntries(unsigned char* table);
/// Returns whether threads are still running.
int resetThreads(void);

// mutexes.c

void putMutexEntries(unsigned char* table);

// clock.c

struct Time now(void);
int isPast(const struct Time* deadline);
/// Until then, as the clock runs by itself.
DWORD millisecondsUntil(const struct Time* deadline);
/// Lets the clock leap, if it does; returns whether.
int leapTo(const struct Time* deadline);
void noteTime(enum posixprovider_entry entry, const struct Time* time);
void putClockEntries(unsigned char* table);
void resetClock(void);

// processes.c

void putProcessEntries(unsigned char* embeddingTable, unsigned char* table);
void resetProcesses(void);

// mounts.c

struct MountLine {
    struct Text device;
    struct Text root;
    struct Text type;
    struct Text options;  // with tabs between them
};
/// Reads a line of the mount table, and returns where the next one begins; null at the end. `from`
/// is null for the first.
const char* readMount(const char* from, struct MountLine* line);
/// Takes the next field off the front of the text.
struct Text takeField(struct Text* rest);
void putMountEntries(unsigned char* table);
void resetMounts(void);

// conversion.c: the path in its other form; null if no mount covers it.

char* externalize(const char* path);
char* internalize(const char* path);
char* externalizeExecution(const char* path);
char* internalizeExecution(const char* path);

// paths.c

void putPathEntries(unsigned char* embeddingTable, unsigned char* table);
void resetPaths(void);
