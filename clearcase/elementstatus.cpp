#include "clearcase/elementstatus.h"

#include "clearcase/configuration.h"
#include "util/pathfun.h"

std::optional<ElementType> configuredStatus(const ElementIndex& elements, const char* path,
                                            std::string* version, std::string* target) {
    if (version != nullptr) {
        version->clear();
    }
    PathBuffer key;
    const ElementRecord* const found = elements.find(elementKeyIn(key, path));
    if (found == nullptr) {
        return std::nullopt;
    }
    const ElementRecord& element = *found;
    if (target != nullptr && element.type == elementSymbolicLink) {
        if (isAbsolutePath(element.value, windowsPaths)) {
            *target = element.value;
        } else {
            // Compatibility: joined to the parent as the caller spelled it, not to its normal form,
            // so that the target is spelled the way the caller spells paths.
            *target = joinPath(parentPath(path), element.value, '/');
        }
        return elementSymbolicLink;
    }
    const bool versioned =
        element.type == elementVersion || element.type == elementDirectoryVersion;
    if (version != nullptr && versioned) {
        *version = "/main/0";
    }
    return element.type;
}

ElementType statusOfFile(bool isDirectory, bool isReadOnly) {
    // Directories first: a read-only directory is still a directory.
    if (isDirectory) {
        return elementDirectoryVersion;
    }
    return isReadOnly ? elementVersion : elementViewPrivate;
}
