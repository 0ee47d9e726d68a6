#include "util/windows/security/securityattributes-win.h"

#include <utility>

#include "util/stringpool.h"
#include "util/windows/security/caughtfailure-win.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

/// With the pooled text a table recognizes its entry without comparing bytes.
HashedText pooled(const HashedText& name) { return name.of(StringPool::instance().intern(name)); }

}  // namespace

SecurityAttributesRegistry::SecurityAttributesRegistry() = default;

SecurityAttributesRegistry::~SecurityAttributesRegistry() = default;

SecurityAttributesRegistry& SecurityAttributesRegistry::instance() {
    // Never destroyed: files may be created while the process ends.
    static SecurityAttributesRegistry& registry = *new SecurityAttributesRegistry;
    return registry;
}

SECURITY_ATTRIBUTES* SecurityAttributesRegistry::find(const HashedText& name) {
    const MutexLock lock(mMutex);
    NamedSecurity* const found = mEntries.find(name);
    return found != nullptr ? &found->attributes : nullptr;
}

void SecurityAttributesRegistry::add(const HashedText& name,
                                     std::unique_ptr<SecurityDescriptor> descriptor) {
    const MutexLock lock(mMutex);
    if (mEntries.find(name) == nullptr) {
        const SECURITY_ATTRIBUTES attributes = {sizeof(SECURITY_ATTRIBUTES),
                                                descriptor->descriptor(), /*bInheritHandle=*/FALSE};
        mEntries.add(name, {attributes, std::move(descriptor)});
    }
}

bool securityAttributesForDirectory(const std::string& path, const char*& name,
                                    std::string* errorText) {
    return runCatching(
        [&] {
            const SecurityDescriptor directory(path, SE_FILE_OBJECT, /*withSacl=*/false);
            auto derived = directory.deriveForChild(/*isContainer=*/false);
            const std::string text =
                derived->sddl(OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                              DACL_SECURITY_INFORMATION);
            const HashedText key = pooled(HashedText(text));
            name = key.text().data;
            SecurityAttributesRegistry::instance().add(key, std::move(derived));
        },
        path + ": ", errorText);
}

SECURITY_ATTRIBUTES* findSecurityAttributes(const char* name) {
    return SecurityAttributesRegistry::instance().find(pooled(HashedText(name)));
}
