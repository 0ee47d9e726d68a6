#include "util/windows/security/securityattributes-win.h"

#include "util/stringpool.h"

SecurityAttributesRegistry& SecurityAttributesRegistry::instance() {
    // Never destroyed: files may be made while the process ends.
    static SecurityAttributesRegistry& registry = *new SecurityAttributesRegistry;
    return registry;
}

SECURITY_ATTRIBUTES* SecurityAttributesRegistry::find(const HashedText& name) {
    const MutexLock lock(mMutex);
    return mEntries.find(name);
}

SECURITY_ATTRIBUTES* findSecurityAttributes(const char* name) {
    const HashedText text(name);
    // By the pooled text the registry knows the entry without a look at its bytes.
    const HashedText pooled = text.of(StringPool::instance().intern(text));
    return SecurityAttributesRegistry::instance().find(pooled);
}
