#pragma once

#include <memory>
#include <string>

#include <windows.h>

#include "util/hashtable.h"
#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"

class SecurityDescriptor;

// Security with a name. The name is the SDDL text of the security, pooled (util/stringpool.h), and
// passes through plain interfaces as an opaque `const char*`: equal security has one name and one
// address.
//
//     const char* name = nullptr;
//     securityAttributesForDirectory("c:/work", name);
//     open("d:/elsewhere/file", _O_CREAT | _O_WRONLY, 0666, name);  // openfile-win.h
//
// The named security is never removed: a SECURITY_ATTRIBUTES is valid until the process ends. Any
// thread may call.

/// The SECURITY_ATTRIBUTES of the process by their names.
class SecurityAttributesRegistry {
public:
    /// Created by the first call and never destroyed.
    [[nodiscard]] static SecurityAttributesRegistry& instance();

    SecurityAttributesRegistry();
    ~SecurityAttributesRegistry();
    SecurityAttributesRegistry(const SecurityAttributesRegistry&) = delete;
    SecurityAttributesRegistry& operator=(const SecurityAttributesRegistry&) = delete;

    /// Returns the attributes with this name, or null. The name needn't be pooled.
    [[nodiscard]] SECURITY_ATTRIBUTES* find(const HashedText& name) NB_EXCLUDES(mMutex);

    /// Registers attributes with this descriptor under the name. For a null descriptor,
    /// lpSecurityDescriptor is null. If the name is registered already, it keeps its attributes and
    /// `descriptor` is deleted. The text of `name` must outlive the registry. Throws
    /// std::bad_alloc.
    void add(const HashedText& name, std::unique_ptr<SecurityDescriptor> descriptor)
        NB_EXCLUDES(mMutex);

private:
    struct NamedSecurity {
        SECURITY_ATTRIBUTES attributes;
        std::unique_ptr<SecurityDescriptor> descriptor;
    };

    Mutex mMutex;
    HashTable<NamedSecurity> mEntries NB_GUARDED_BY(mMutex);
};

/// Sets `name` to the name of the security that a new file in the directory would get. `path` is
/// UTF-8 and may have any length.
///
/// Returns false on failure. Then `*errorText`, unless null, is the path, ": " and the message, and
/// GetLastError returns the error number, or NO_ERROR if the failure isn't one of Windows. A
/// directory whose owner has no account fails as well, because Windows makes no text for it. Throws
/// nothing but std::bad_alloc.
[[nodiscard]] bool securityAttributesForDirectory(const std::string& path, const char*& name,
                                                  std::string* errorText = nullptr);

/// Returns the attributes with this name, or null. Pools the name, which may be any text. Throws
/// std::bad_alloc.
[[nodiscard]] SECURITY_ATTRIBUTES* findSecurityAttributes(const char* name);
