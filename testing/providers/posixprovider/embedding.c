#include <stdlib.h>
#include <string.h>

#include "testing/providers/posixprovider/provider.h"

struct ErrorString {
    struct Object object;
    char text[64];
};

static unsigned char gErrorStringTable[OBJECT_TABLE_SIZE];
static unsigned char gUnameResultTable[OBJECT_TABLE_SIZE];
static struct Embedding* gEmbeddings;

unsigned char gEmbeddingTable[OBJECT_TABLE_SIZE];
unsigned char gSystemTable[SYSTEM_TABLE_SIZE];

static int endedEntry(void) {
    lockState();
    fault("an object was used that had ended");
    unlockState();
    return POSIXPROVIDER_INVALID_ARGUMENT;
}

void addReference(struct Embedding* embedding) {
    ++embedding->references;
    ++gCounters[POSIXPROVIDER_COUNT_REFERENCES];
}

static void dropReference(struct Embedding* embedding) {
    --gCounters[POSIXPROVIDER_COUNT_REFERENCES];
    if (--embedding->references == 0) {
        gCounters[POSIXPROVIDER_COUNT_LEFTOVERS] += embedding->objects;
        embedding->table = gEndedTable;
        embedding->systemTable = gEndedTable;
    }
}

static int addRef(void* self) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_ADD_REF);
    if (call.acts) {
        addReference(embeddingOf(self));
    }
    return leave(call, 0);
}

static int release(void* self, void** holder) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_RELEASE);
    emptyHolder(self, holder);
    dropReference(embeddingOf(self));
    return leave(call, 0);
}

static const char* textOf(int code) {
    switch (code) {
        case POSIXPROVIDER_NOT_PERMITTED:
            return "Not the owner";
        case POSIXPROVIDER_MISSING_ENTRY:
            return "Nothing of that name";
        case POSIXPROVIDER_MISSING_PROCESS:
            return "No process of that id";
        case POSIXPROVIDER_INTERRUPTED:
            return "The wait was ended";
        case POSIXPROVIDER_OUT_OF_MEMORY:
            return "No memory";
        case POSIXPROVIDER_BUSY:
            return "In use";
        case POSIXPROVIDER_EXISTS:
            return "The name is taken";
        case POSIXPROVIDER_INVALID_ARGUMENT:
            return "An argument makes no sense";
        case POSIXPROVIDER_DEADLOCK:
            return "Owner already";
        case POSIXPROVIDER_TIMED_OUT:
            return "The time is over";
        default:
            return NULL;
    }
}

static int errorText(void* self, int code, void** result) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_ERROR_TEXT);
    *result = NULL;
    if (call.acts) {
        struct ErrorString* made = makeObject(sizeof *made, gErrorStringTable,
                                              POSIXPROVIDER_COUNT_ERROR_STRINGS, embeddingOf(self));
        const char* text = textOf(code);
        if (text != NULL) {
            snprintf(made->text, sizeof made->text, "%s", text);
        } else {
            snprintf(made->text, sizeof made->text, "error %d", code);
        }
        *result = made;
    }
    return leave(call, 0);
}

static int errorStringRelease(void* self, void** holder) {
    const struct Call call = enter(POSIXPROVIDER_ERROR_STRING_RELEASE);
    emptyHolder(self, holder);
    endObject(self);
    return leave(call, 0);
}

static const char* errorStringText(void* self) {
    const struct ErrorString* string = self;
    leave(enter(POSIXPROVIDER_ERROR_STRING_TEXT), 0);
    return string->text;
}

static int unameOf(void* self, void** result) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_UNAME);
    *result = call.acts ? makeObject(sizeof(struct Object), gUnameResultTable,
                                     POSIXPROVIDER_COUNT_UNAME_RESULTS, embeddingOf(self))
                        : NULL;
    return leave(call, 0);
}

static int unameResultDispose(void* self, void** holder) {
    const struct Call call = enter(POSIXPROVIDER_UNAME_RESULT_DISPOSE);
    emptyHolder(self, holder);
    endObject(self);
    return leave(call, 0);
}

static const char* unameResultReleaseText(void* self) {
    const struct Object* result = self;
    leave(enter(POSIXPROVIDER_UNAME_RESULT_RELEASE_TEXT), 0);
    return result->owner->release;
}

static int exitProcess(void* self, int code) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_EXIT);
    if (call.acts) {
        unlockState();
        exit(code);
    }
    return leave(call, 0);
}

static void putConstants(unsigned char* table) {
    put32(table, 716, POSIXPROVIDER_INVALID_ARGUMENT);
    put32(table, 780, POSIXPROVIDER_MISSING_ENTRY);
    put32(table, 908, POSIXPROVIDER_TIMED_OUT);
    put32(table, 1032, POSIXPROVIDER_SIGUSR2);
    put64(table, 1056, POSIXPROVIDER_DEFAULT_DISPOSITION);
    put64(table, 1080, POSIXPROVIDER_SIGSET_SIZE);
    put64(table, 1096, POSIXPROVIDER_SIGACTION_SIZE);
    put32(table, 1140, POSIXPROVIDER_BLOCK);
    put32(table, 1148, POSIXPROVIDER_UNBLOCK);
    put64(table, 1400, (uint64_t)POSIXPROVIDER_REALTIME_CLOCK);
}

static void buildTables(void) {
    for (size_t offset = 0; offset < sizeof gEndedTable; offset += sizeof(AnyEntry)) {
        PUT_ENTRY(gEndedTable, offset, endedEntry);
    }
    clearTable(gErrorStringTable, sizeof gErrorStringTable);
    PUT_ENTRY(gErrorStringTable, 24, errorStringRelease);
    PUT_ENTRY(gErrorStringTable, 48, errorStringText);
    clearTable(gUnameResultTable, sizeof gUnameResultTable);
    PUT_ENTRY(gUnameResultTable, 0, unameResultDispose);
    PUT_ENTRY(gUnameResultTable, 24, unameResultReleaseText);

    clearTable(gEmbeddingTable, sizeof gEmbeddingTable);
    clearTable(gSystemTable, sizeof gSystemTable);
    PUT_ENTRY(gSystemTable, 24, release);
    PUT_ENTRY(gSystemTable, 32, addRef);
    PUT_ENTRY(gSystemTable, 48, errorText);
    PUT_ENTRY(gSystemTable, 72, exitProcess);
    PUT_ENTRY(gSystemTable, 80, unameOf);
    putClockEntries(gSystemTable);
    putMountEntries(gSystemTable);
    putMutexEntries(gSystemTable);
    putPathEntries(gEmbeddingTable, gSystemTable);
    putProcessEntries(gEmbeddingTable, gSystemTable);
    putSignalEntries(gSystemTable);
    putThreadEntries(gSystemTable);
    putConstants(gSystemTable);
}

void resetEmbeddings(void) {
    for (struct Embedding* embedding = gEmbeddings; embedding != NULL;
         embedding = embedding->next) {
        embedding->table = gEndedTable;
        embedding->systemTable = gEndedTable;
    }
    gEmbeddings = NULL;
    putConstants(gSystemTable);
}

void* posixprovider_make_embedding(const char* release_text) {
    lockState();
    struct Embedding* embedding = keep(sizeof *embedding);
    embedding->table = gEmbeddingTable;
    embedding->systemTable = gSystemTable;
    embedding->release = keepText(release_text, strlen(release_text));
    embedding->next = gEmbeddings;
    gEmbeddings = embedding;
    addReference(embedding);
    unlockState();
    return embedding;
}

void posixprovider_drop_embedding(void* embedding) {
    struct Embedding* dropped = embedding;
    lockState();
    if (dropped->table == gEmbeddingTable) {
        dropReference(dropped);
    } else {
        fault("the embedding had no reference left");
    }
    unlockState();
}

void posixprovider_reset(void) {
    lockState();
    ++gEpoch;
    resetEmbeddings();
    resetCalls();
    resetClock();
    resetMounts();
    resetPaths();
    resetProcesses();
    resetSignals();
    resetObjects(/*isInUse=*/resetThreads());
    changed();
    unlockState();
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    (void)module;
    (void)reserved;
    if (reason == DLL_PROCESS_ATTACH) {
        buildTables();
    } else if (reason == DLL_THREAD_DETACH) {
        forgetCurrentThread();
    }
    return TRUE;
}
