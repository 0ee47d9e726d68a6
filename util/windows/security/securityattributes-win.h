#pragma once

#include <memory>
#include <string>

#include <windows.h>

#include "util/hashtable.h"
#include "util/mutex-pthreads.h"

class SecurityDescriptor;

// Security that has a name. A name is the SDDL text of a security, pooled (util/stringpool.h), so
// that it goes through plain interfaces as an opaque `const char*`: equal security, one name, one
// address.
//
//     const char* name = nullptr;
//     securityAttributesForDirectory("c:/work", name);
//     open("d:/elsewhere/file", _O_CREAT | _O_WRONLY, 0666, name);  // openfile-win.h
//
// What stands behind the names is never removed: a SECURITY_ATTRIBUTES is good to the end of the
// process. Any thread may call.

/// The SECURITY_ATTRIBUTES of the process by their names.
class SecurityAttributesRegistry {
public:
    /// Made at the first call and kept to the end of the process.
    static SecurityAttributesRegistry& instance();

    SecurityAttributesRegistry();
    ~SecurityAttributesRegistry();
    SecurityAttributesRegistry(const SecurityAttributesRegistry&) = delete;
    SecurityAttributesRegistry& operator=(const SecurityAttributesRegistry&) = delete;

    /// What has the name, which needn't be pooled; null if nothing has it.
    SECURITY_ATTRIBUTES* find(const HashedText& name);

    /// Gives the name to attributes with the descriptor, or none if that is a null descriptor. A
    /// name that has something already keeps it, and `descriptor` is deleted. The text of `name`
    /// must outlive the registry. Throws std::bad_alloc.
    void add(const HashedText& name, std::unique_ptr<SecurityDescriptor> descriptor);

private:
    struct NamedSecurity {
        SECURITY_ATTRIBUTES attributes;
        std::unique_ptr<SecurityDescriptor> descriptor;
    };

    Mutex mMutex;
    HashTable<NamedSecurity> mEntries;
};

/// Makes `name` the name of the security that a new file in the directory would get. `path` is
/// UTF-8 and of any length. False on failure: the path, ": " and the words are in `*errorText`,
/// unless null, and the number is in GetLastError, 0 for a failure that is none of Windows. Windows
/// makes no text for a directory whose owner has no account: that fails as well. Throws nothing but
/// std::bad_alloc.
bool securityAttributesForDirectory(const std::string& path, const char*& name,
                                    std::string* errorText = nullptr);

/// What has the name, or null. The name, which may be any text, is pooled. Throws std::bad_alloc.
SECURITY_ATTRIBUTES* findSecurityAttributes(const char* name);
