#pragma once

// What the sources of the provider share. One lock guards everything: functions are called with it
// held unless documented otherwise. All memory stays allocated until the next reset, so that the
// use of an object that has ended is counted as a fault and does no harm.

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
    int code;  // the code that a test makes it fail with, or 0
    int acts;  // whether it does its work and returns its result
};
/// The beginning of an entry: acquires the lock and counts the call.
struct Call enter(enum posixprovider_entry entry);
/// The end of an entry: releases the lock. Returns the code that the entry is to return.
int leave(struct Call call, int code);
/// Counts a fault.
void fault(const char* format, ...) __attribute__((format(__MINGW_PRINTF_FORMAT, 1, 2)));
void resetCalls(void);

// waits.c: one condition for everything that threads wait for.

/// The number of the last reset. If it changes during a wait, the wait ends with
/// POSIXPROVIDER_INTERRUPTED and must not touch any object any more.
extern unsigned gEpoch;
/// Reports that something happened that a thread may wait for.
void changed(void);
/// Waits for that; the lock is released during the wait. The thread counts as blocked in the entry.
void awaitChange(enum posixprovider_entry entry, DWORD milliseconds);

// objects.c

enum { SYSTEM_TABLE_SIZE = 1408, OBJECT_TABLE_SIZE = 96 };

struct Embedding {
    const unsigned char* table;
    const unsigned char* systemTable;
    int references;
    int objects;  // that it has created and that are alive
    const char* release;
    struct Embedding* next;
};

struct Object {
    const unsigned char* table;
    struct Embedding* owner;
    enum posixprovider_counter counter;
};

extern int gCounters[POSIXPROVIDER_COUNTERS];
/// The table of every object that has ended.
extern unsigned char gEndedTable[SYSTEM_TABLE_SIZE];

typedef void (*AnyEntry)(void);
void putEntry(unsigned char* table, size_t offset, AnyEntry entry);
#define PUT_ENTRY(table, offset, function) putEntry((table), (offset), (AnyEntry)(function))
void put32(unsigned char* table, size_t offset, int32_t value);
void put64(unsigned char* table, size_t offset, uint64_t value);
/// Clears a table: a call of any entry that isn't put into it afterwards is a fault.
void clearTable(unsigned char* table, size_t size);

/// Returns zeroed memory that stays allocated until the next reset.
void* keep(size_t size);
char* keepText(const char* data, size_t length);
/// The memory is never freed if threads may still use it.
void resetObjects(int isInUse);

void* makeObject(size_t size, const unsigned char* table, enum posixprovider_counter counter,
                 struct Embedding* owner);
/// `object` may be any struct that begins with a struct Object.
void endObject(void* object);
/// Clears the holder of the object. It is a fault if the holder contains another object, or is
/// null.
void emptyHolder(void* object, void** holder);
/// Like leave, for entries that end an object: a failure comes with a counted reference.
int leaveEnded(struct Call call, struct Embedding* owner, void** errors);
/// The entry `system` of most objects; this counts the call.
void* systemOf(void* object, enum posixprovider_entry entry);

/// Returns the embedding that `system` belongs to.
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
/// Acts on the pending signals that some thread doesn't block and no thread waits for. That may end
/// the process.
void deliverSignals(void);
void putSignalEntries(unsigned char* table);
void resetSignals(void);

// threads.c

struct Thread {
    uint64_t id;
    DWORD windowsId;
    HANDLE handle;    // null: not created by thread_create
    uint64_t mask;    // the signals that it blocks
    uint64_t awaits;  // the signals that it is waiting for
    void* (*start)(void*);
    void* argument;
    void* result;
    struct Embedding* owner;
    int hasEnded;
    struct Thread* next;
};
/// Returns the record of the calling thread. Creates one, with an empty mask, if there is none.
struct Thread* currentThread(void);
/// Returns null if there is no record.
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
/// Returns the milliseconds until the deadline; INFINITE if the clock doesn't run by itself.
DWORD millisecondsUntil(const struct Time* deadline);
/// Makes the leaping clock leap to the deadline. Returns whether it did: other clocks don't.
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
/// Reads a line of the mount table and returns where the next one begins, or null at the end.
/// `from` is null for the first.
const char* readMount(const char* from, struct MountLine* line);
/// Removes the next field from the beginning of the text and returns it.
struct Text takeField(struct Text* rest);
void putMountEntries(unsigned char* table);
void resetMounts(void);

// conversion.c: return the path in its other form, or null if no mount covers it.

char* externalize(const char* path);
char* internalize(const char* path);
char* externalizeExecution(const char* path);
char* internalizeExecution(const char* path);

// paths.c

void putPathEntries(unsigned char* embeddingTable, unsigned char* table);
void resetPaths(void);
