#include <string.h>

#include "testing/providers/posixprovider/provider.h"

static int isSeparator(char character) { return character == '/' || character == '\\'; }

static char lowered(char character) {
    return character >= 'A' && character <= 'Z' ? (char)(character - 'A' + 'a') : character;
}

static int isSameInDevice(char left, char right) {
    return lowered(left) == lowered(right) || (isSeparator(left) && isSeparator(right));
}

static struct Text withoutLastSeparators(struct Text text) {
    while (text.length > 0 && isSeparator(text.data[text.length - 1])) {
        --text.length;
    }
    return text;
}

/// Returns the part of the path after the prefix, or null if the path doesn't begin with it.
static const char* restAfter(const char* path, struct Text prefix, int isDevice) {
    if (prefix.length == 0) {
        return NULL;
    }
    const struct Text names = withoutLastSeparators(prefix);
    for (size_t i = 0; i < names.length; ++i) {
        const int isSame =
            isDevice ? isSameInDevice(path[i], names.data[i]) : path[i] == names.data[i];
        if (!isSame) {
            return NULL;
        }
    }
    const char* rest = path + names.length;
    const int isEnd =
        *rest == '/' || (isDevice && *rest == '\\') || (*rest == '\0' && names.length != 0);
    return isEnd ? rest : NULL;
}

/// Returns the end of a mount with the rest after it, and capacity for `room` more characters.
static char* join(struct Text mount, const char* rest, char separator, size_t room) {
    const size_t restLength = strlen(rest);
    if (restLength > 1) {
        mount = withoutLastSeparators(mount);
    } else {
        rest = "";  // the mount itself
    }
    char* joined = keep(mount.length + restLength + room + 1);
    memcpy(joined, mount.data, mount.length);
    strcpy(joined + mount.length, rest);
    for (char* character = joined; *character != '\0'; ++character) {
        if (isSeparator(*character)) {
            *character = separator;
        }
    }
    return joined;
}

/// Converts the path by the mount with the longest end on that side that the path begins with.
static char* convert(const char* path, int isDevice) {
    const size_t room = strlen(".exe");
    char* result = NULL;
    size_t longest = 0;
    struct MountLine line;
    for (const char* from = readMount(NULL, &line); from != NULL; from = readMount(from, &line)) {
        const struct Text side = isDevice ? line.device : line.root;
        const char* rest = restAfter(path, side, isDevice);
        const int isPrefixRule =
            line.type.length == 8 && memcmp(line.type.data, "cygdrive", 8) == 0;
        if (rest != NULL && !isPrefixRule && side.length > longest) {
            longest = side.length;
            result = join(isDevice ? line.root : line.device, rest, isDevice ? '/' : '\\', room);
        }
    }
    return result;
}

char* externalize(const char* path) { return convert(path, /*isDevice=*/0); }

char* internalize(const char* path) { return convert(path, /*isDevice=*/1); }

char* externalizeExecution(const char* path) {
    char* result = externalize(path);
    if (result != NULL) {
        const char* separator = strrchr(result, '\\');
        const char* name = separator != NULL ? separator + 1 : result;
        if (*name != '\0' && strchr(name, '.') == NULL) {
            strcat(result, ".exe");
        }
    }
    return result;
}

char* internalizeExecution(const char* path) {
    char* result = internalize(path);
    const size_t length = result != NULL ? strlen(result) : 0;
    if (length > 4 && _stricmp(result + length - 4, ".exe") == 0) {
        result[length - 4] = '\0';
    }
    return result;
}
