#include <string.h>

#include "testing/providers/posixprovider/provider.h"

struct Link {
    const char* path;
    const char* target;
    struct Link* next;
};

/// A text that the provider made without an allocator.
struct Buffer {
    struct Object object;
    struct Buffer* next;
    char text[];
};

static struct Link* gLinks;
static struct Buffer* gBuffers;
static unsigned char gBufferTable[OBJECT_TABLE_SIZE];
static const char* gDirectory = "";
static const char* gPathCall = "";

static const struct Link* findLink(const char* path) {
    const struct Link* link = gLinks;
    while (link != NULL && strcmp(link->path, path) != 0) {
        link = link->next;
    }
    return link;
}

static char* makeBuffer(size_t size, struct Embedding* owner) {
    struct Buffer* buffer =
        makeObject(sizeof *buffer + size, gBufferTable, POSIXPROVIDER_COUNT_BUFFERS, owner);
    buffer->next = gBuffers;
    gBuffers = buffer;
    return buffer->text;
}

static void deallocate(void* self, void* text) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_DEALLOCATE);
    struct Buffer* buffer = gBuffers;
    while (buffer != NULL && buffer->text != text) {
        buffer = buffer->next;
    }
    if (buffer == NULL || buffer->object.table != gBufferTable) {
        fault("a buffer was freed that the system didn't make, or twice");
    } else {
        endObject(buffer);
    }
    leave(call, 0);
}

/// Calls the allocator's entry at offset 8. The lock is released during the call.
static char* allocateWith(void* allocator, size_t size) {
    const unsigned char* table = NULL;
    void* (*allocate)(void*, size_t) = NULL;
    memcpy(&table, allocator, sizeof table);
    memcpy(&allocate, table + 8, sizeof allocate);
    unlockState();
    char* buffer = allocate(allocator, size);
    lockState();
    return buffer;
}

/// Returns an error code.
static int giveText(const char* text, void* allocator, struct Embedding* owner, char** result) {
    const size_t size = strlen(text) + 1;
    *result = allocator != NULL ? allocateWith(allocator, size) : makeBuffer(size, owner);
    if (*result == NULL) {
        return POSIXPROVIDER_OUT_OF_MEMORY;
    }
    memcpy(*result, text, size);
    return 0;
}

static int readlink(void* self, const char* path, void* allocator, char** result, int64_t* more) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_READLINK);
    *result = NULL;
    if (more == NULL) {
        fault("readlink: the further out word is missing");
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    *more = 0;
    if (!call.acts) {
        return leave(call, 0);
    }
    const struct Link* found = findLink(path);
    if (found == NULL) {
        return leave(call, POSIXPROVIDER_MISSING_ENTRY);
    }
    *more = (int64_t)strlen(found->target);
    return leave(call, giveText(found->target, allocator, embeddingOf(self), result));
}

static int convertPath(enum posixprovider_entry entry, char* (*convert)(const char*), void* self,
                       const char* path, void* allocator, char** result) {
    const struct Call call = enter(entry);
    *result = NULL;
    const char* text = call.acts ? convert(path) : NULL;
    return leave(call, text != NULL ? giveText(text, allocator, self, result) : 0);
}

static int internalizePath(void* self, const char* path, void* allocator, char** result) {
    return convertPath(POSIXPROVIDER_INTERNALIZE_PATH, internalize, self, path, allocator, result);
}

static int externalizePath(void* self, const char* path, void* allocator, char** result) {
    return convertPath(POSIXPROVIDER_EXTERNALIZE_PATH, externalize, self, path, allocator, result);
}

static int internalizeExecutionPath(void* self, const char* path, void* allocator, char** result) {
    return convertPath(POSIXPROVIDER_INTERNALIZE_EXECUTION_PATH, internalizeExecution, self, path,
                       allocator, result);
}

static int externalizeExecutionPath(void* self, const char* path, void* allocator, char** result) {
    return convertPath(POSIXPROVIDER_EXTERNALIZE_EXECUTION_PATH, externalizeExecution, self, path,
                       allocator, result);
}

static int symlink(void* self, const char* target, const char* path) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_SYMLINK);
    if (!call.acts) {
        return leave(call, 0);
    }
    if (findLink(path) != NULL) {
        return leave(call, POSIXPROVIDER_EXISTS);
    }
    struct Link* made = keep(sizeof *made);
    made->path = keepText(path, strlen(path));
    made->target = keepText(target, strlen(target));
    made->next = gLinks;
    gLinks = made;
    return leave(call, 0);
}

static int rememberPath(enum posixprovider_entry entry, const char* path, const char** memory) {
    const struct Call call = enter(entry);
    if (call.acts) {
        *memory = keepText(path, strlen(path));
    }
    return leave(call, 0);
}

static int changeDirectory(void* self, const char* path) {
    (void)self;
    return rememberPath(POSIXPROVIDER_SYSTEM_CHDIR, path, &gDirectory);
}

static int pathCall(void* self, const char* path) {
    (void)self;
    return rememberPath(POSIXPROVIDER_SYSTEM_PATH_CALL, path, &gPathCall);
}

void putPathEntries(unsigned char* embeddingTable, unsigned char* table) {
    PUT_ENTRY(embeddingTable, 64, internalizePath);
    PUT_ENTRY(embeddingTable, 72, externalizePath);
    PUT_ENTRY(embeddingTable, 80, internalizeExecutionPath);
    PUT_ENTRY(embeddingTable, 88, externalizeExecutionPath);
    PUT_ENTRY(table, 0, deallocate);
    PUT_ENTRY(table, 464, symlink);
    PUT_ENTRY(table, 472, readlink);
    PUT_ENTRY(table, 504, pathCall);
    PUT_ENTRY(table, 536, changeDirectory);
}

void resetPaths(void) {
    gLinks = NULL;
    gBuffers = NULL;
    gDirectory = "";
    gPathCall = "";
}

const char* posixprovider_link(const char* path) {
    lockState();
    const struct Link* found = findLink(path);
    unlockState();
    return found != NULL ? found->target : NULL;
}

static const char* remembered(const char** memory) {
    lockState();
    const char* path = *memory;
    unlockState();
    return path;
}

const char* posixprovider_directory(void) { return remembered(&gDirectory); }

const char* posixprovider_path_call(void) { return remembered(&gPathCall); }
