#pragma once

#include <windows.h>

#include "util/hashtable.h"
#include "util/mutex-pthreads.h"

// Security that has a name. A name is the SDDL text of a security, pooled (util/stringpool.h), so
// that it goes through plain interfaces as an opaque `const char*`: equal security, one name, one
// address. What stands behind the names is never removed: a SECURITY_ATTRIBUTES that was found is
// good to the end of the process. Any thread may call.

/// The SECURITY_ATTRIBUTES of the process by their names.
class SecurityAttributesRegistry {
public:
    /// Made at the first call and kept to the end of the process.
    static SecurityAttributesRegistry& instance();

    SecurityAttributesRegistry() = default;
    SecurityAttributesRegistry(const SecurityAttributesRegistry&) = delete;
    SecurityAttributesRegistry& operator=(const SecurityAttributesRegistry&) = delete;

    /// What has the name, which needn't be pooled; null if nothing has it.
    SECURITY_ATTRIBUTES* find(const HashedText& name);

private:
    Mutex mMutex;
    HashTable<SECURITY_ATTRIBUTES> mEntries;
};

/// What has the name, or null. The name is pooled. Throws std::bad_alloc.
SECURITY_ATTRIBUTES* findSecurityAttributes(const char* name);
