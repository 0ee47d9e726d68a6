#include <string.h>

#include "testing/providers/posixprovider/provider.h"

/// A mount or an option, as an element of its list.
struct Element {
    struct Object object;
    struct Element* next;
    struct Text device;
    struct Text root;
    struct Text type;
    struct Text options;
    struct Text text;  // only of an option
};

static unsigned char gMountTable[OBJECT_TABLE_SIZE];
static unsigned char gOptionTable[OBJECT_TABLE_SIZE];
static const char* gMounts = "";

struct Text takeField(struct Text* rest) {
    size_t length = 0;
    while (length < rest->length && rest->data[length] != '\t') {
        ++length;
    }
    const struct Text field = {rest->data, length};
    const size_t taken = length < rest->length ? length + 1 : length;
    rest->data += taken;
    rest->length -= taken;
    return field;
}

const char* readMount(const char* from, struct MountLine* line) {
    if (from == NULL) {
        from = gMounts;
    }
    from += strspn(from, "\n");
    if (*from == '\0') {
        return NULL;
    }
    struct Text rest = {from, strcspn(from, "\n")};
    from += rest.length;
    line->device = takeField(&rest);
    line->root = takeField(&rest);
    line->type = takeField(&rest);
    line->options = rest;
    return from;
}

/// Returns a copy with a character after it, so that nobody can do without the length.
static struct Text keepUnterminated(struct Text text) {
    char* copy = keep(text.length + 2);
    memcpy(copy, text.data, text.length);
    copy[text.length] = '#';
    return (struct Text){copy, text.length};
}

static struct Element* makeMounts(struct Embedding* owner) {
    struct Element* first = NULL;
    struct Element** link = &first;
    struct MountLine line;
    for (const char* from = readMount(NULL, &line); from != NULL; from = readMount(from, &line)) {
        struct Element* mount =
            makeObject(sizeof *mount, gMountTable, POSIXPROVIDER_COUNT_MOUNTS, owner);
        mount->device = keepUnterminated(line.device);
        mount->root = keepUnterminated(line.root);
        mount->type = keepUnterminated(line.type);
        mount->options = keepUnterminated(line.options);
        *link = mount;
        link = &mount->next;
    }
    return first;
}

static struct Element* makeOptions(const struct Element* mount) {
    struct Element* first = NULL;
    struct Element** link = &first;
    struct Text rest = mount->options;
    while (rest.length != 0) {
        struct Element* option = makeObject(sizeof *option, gOptionTable,
                                            POSIXPROVIDER_COUNT_MOUNT_OPTIONS, mount->object.owner);
        option->text = keepUnterminated(takeField(&rest));
        *link = option;
        link = &option->next;
    }
    return first;
}

static int getMounts(void* self, void** result) {
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_GET_MOUNTS);
    *result = call.acts ? makeMounts(embeddingOf(self)) : NULL;
    return leave(call, 0);
}

static void endList(struct Element* element) {
    for (; element != NULL; element = element->next) {
        endObject(element);
    }
}

static int stepList(struct Element* element, enum posixprovider_entry entry, void** holder,
                    void** nextHolder, void** errors) {
    const struct Call call = enter(entry);
    emptyHolder(element, holder);
    endObject(element);
    if (nextHolder != NULL) {
        *nextHolder = call.acts ? element->next : NULL;
    }
    if (nextHolder == NULL || !call.acts) {
        endList(element->next);
    }
    return leaveEnded(call, element->object.owner, errors);
}

static int giveText(enum posixprovider_entry entry, struct Text text, struct Text* result) {
    const struct Call call = enter(entry);
    *result = call.acts ? text : (struct Text){NULL, 0};
    return leave(call, 0);
}

static void* mountSystem(void* self) { return systemOf(self, POSIXPROVIDER_MOUNT_SYSTEM); }

static int mountNext(void* self, void** holder, void** nextHolder, void** errors) {
    return stepList(self, POSIXPROVIDER_MOUNT_NEXT, holder, nextHolder, errors);
}

static int mountDevice(void* self, struct Text* result) {
    const struct Element* mount = self;
    return giveText(POSIXPROVIDER_MOUNT_DEVICE, mount->device, result);
}

static int mountRoot(void* self, struct Text* result) {
    const struct Element* mount = self;
    return giveText(POSIXPROVIDER_MOUNT_ROOT, mount->root, result);
}

static int mountType(void* self, struct Text* result) {
    const struct Element* mount = self;
    return giveText(POSIXPROVIDER_MOUNT_TYPE, mount->type, result);
}

static int mountOptions(void* self, void** result) {
    const struct Call call = enter(POSIXPROVIDER_MOUNT_OPTIONS);
    *result = call.acts ? makeOptions(self) : NULL;
    return leave(call, 0);
}

static void* optionSystem(void* self) { return systemOf(self, POSIXPROVIDER_MOUNT_OPTION_SYSTEM); }

static int optionNext(void* self, void** holder, void** nextHolder, void** errors) {
    return stepList(self, POSIXPROVIDER_MOUNT_OPTION_NEXT, holder, nextHolder, errors);
}

static int optionText(void* self, struct Text* result) {
    const struct Element* option = self;
    return giveText(POSIXPROVIDER_MOUNT_OPTION_TEXT, option->text, result);
}

void putMountEntries(unsigned char* table) {
    clearTable(gMountTable, sizeof gMountTable);
    PUT_ENTRY(gMountTable, 0, mountSystem);
    PUT_ENTRY(gMountTable, 16, mountNext);
    PUT_ENTRY(gMountTable, 24, mountDevice);
    PUT_ENTRY(gMountTable, 32, mountRoot);
    PUT_ENTRY(gMountTable, 40, mountType);
    PUT_ENTRY(gMountTable, 48, mountOptions);
    clearTable(gOptionTable, sizeof gOptionTable);
    PUT_ENTRY(gOptionTable, 0, optionSystem);
    PUT_ENTRY(gOptionTable, 16, optionNext);
    PUT_ENTRY(gOptionTable, 24, optionText);
    PUT_ENTRY(table, 560, getMounts);
}

void resetMounts(void) { gMounts = ""; }

void posixprovider_set_mounts(const char* text) {
    lockState();
    gMounts = keepText(text, strlen(text));
    unlockState();
}
