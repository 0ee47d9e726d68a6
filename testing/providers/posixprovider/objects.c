#include <stdlib.h>
#include <string.h>

#include "testing/providers/posixprovider/provider.h"

struct Kept {
    struct Kept* next;
    _Alignas(16) unsigned char memory[];
};

static struct Kept* gKept;

int gCounters[POSIXPROVIDER_COUNTERS];
unsigned char gEndedTable[SYSTEM_TABLE_SIZE];

static int unusedEntry(void) {
    lockState();
    fault("an entry that has no meaning was called");
    unlockState();
    return POSIXPROVIDER_INVALID_ARGUMENT;
}

void putEntry(unsigned char* table, size_t offset, AnyEntry entry) {
    memcpy(table + offset, &entry, sizeof entry);
}

void put32(unsigned char* table, size_t offset, int32_t value) {
    memcpy(table + offset, &value, sizeof value);
}

void put64(unsigned char* table, size_t offset, uint64_t value) {
    memcpy(table + offset, &value, sizeof value);
}

void clearTable(unsigned char* table, size_t size) {
    for (size_t offset = 0; offset < size; offset += sizeof(AnyEntry)) {
        PUT_ENTRY(table, offset, unusedEntry);
    }
}

void* keep(size_t size) {
    struct Kept* kept = calloc(1, sizeof *kept + size);
    if (kept == NULL) {
        abort();
    }
    kept->next = gKept;
    gKept = kept;
    return kept->memory;
}

char* keepText(const char* data, size_t length) {
    char* text = keep(length + 1);
    memcpy(text, data, length);
    return text;
}

void resetObjects(int isInUse) {
    memset(gCounters, 0, sizeof gCounters);
    if (isInUse) {
        gKept = NULL;
    }
    while (gKept != NULL) {
        struct Kept* next = gKept->next;
        free(gKept);
        gKept = next;
    }
}

void* makeObject(size_t size, const unsigned char* table, enum posixprovider_counter counter,
                 struct Embedding* owner) {
    struct Object* object = keep(size);
    *object = (struct Object){.table = table, .owner = owner, .counter = counter};
    ++gCounters[counter];
    ++owner->objects;
    return object;
}

void endObject(void* object) {
    struct Object* ended = object;
    --gCounters[ended->counter];
    --ended->owner->objects;
    ended->table = gEndedTable;
}

void emptyHolder(void* object, void** holder) {
    if (holder == NULL) {
        fault("an object was ended without its holder");
    } else if (*holder != object) {
        fault("an object was ended with the holder of another");
    } else {
        *holder = NULL;
    }
}

int leaveEnded(struct Call call, struct Embedding* owner, void** errors) {
    if (call.code != 0 && errors != NULL) {
        addReference(owner);
        *errors = &owner->systemTable;
    }
    return leave(call, 0);
}

void* systemOf(void* object, enum posixprovider_entry entry) {
    const struct Object* asked = object;
    leave(enter(entry), 0);
    return &asked->owner->systemTable;
}

int posixprovider_count(enum posixprovider_counter counter) {
    lockState();
    const int count = gCounters[counter];
    unlockState();
    return count;
}

const char* posixprovider_counter_name(enum posixprovider_counter counter) {
    static const char* const names[POSIXPROVIDER_COUNTERS] = {
        [POSIXPROVIDER_COUNT_REFERENCES] = "references",
        [POSIXPROVIDER_COUNT_MUTEXES] = "mutexes",
        [POSIXPROVIDER_COUNT_CONDS] = "conds",
        [POSIXPROVIDER_COUNT_MOUNTS] = "mounts",
        [POSIXPROVIDER_COUNT_MOUNT_OPTIONS] = "mount options",
        [POSIXPROVIDER_COUNT_ERROR_STRINGS] = "error strings",
        [POSIXPROVIDER_COUNT_UNAME_RESULTS] = "uname results",
        [POSIXPROVIDER_COUNT_BUFFERS] = "buffers",
        [POSIXPROVIDER_COUNT_THREADS] = "threads",
        [POSIXPROVIDER_COUNT_LEFTOVERS] = "leftovers",
        [POSIXPROVIDER_COUNT_FAULTS] = "faults",
    };
    return names[counter];
}
