#include "util/windows/security/openfile-win.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>

#include "util/windows/existingfile-win.h"
#include "util/windows/security/securityattributes-win.h"
#include "util/windows/system-paths-win.h"

namespace {

constexpr int accessFlags = _O_WRONLY | _O_RDWR;
constexpr int knownFlags = accessFlags | _O_APPEND | _O_CREAT | _O_TRUNC | _O_EXCL | _O_BINARY;

void checkFlags(int flags) {
    const unsigned unknown = static_cast<unsigned>(flags) & ~unsigned{knownFlags};
    if (unknown != 0) {
        std::array<char, 64> text;
        std::snprintf(text.data(), text.size(), "open received unknown flags 0x%x", unknown);
        throw std::invalid_argument(text.data());
    }
}

DWORD desiredAccess(int flags) {
    switch (flags & accessFlags) {
        case _O_RDONLY:
            return GENERIC_READ;
        case _O_WRONLY:
            return GENERIC_WRITE;
        case _O_RDWR:
            return GENERIC_READ | GENERIC_WRITE;
        default:
            return 0;
    }
}

DWORD creationDisposition(int flags) {
    const bool truncates = (flags & _O_TRUNC) != 0;
    if ((flags & _O_CREAT) == 0) {
        return truncates ? TRUNCATE_EXISTING : OPEN_EXISTING;
    }
    if ((flags & _O_EXCL) != 0) {
        return CREATE_NEW;
    }
    return truncates ? CREATE_ALWAYS : OPEN_ALWAYS;
}

SECURITY_ATTRIBUTES* attributesOf(const char* name) {
    return name == nullptr ? nullptr
                           : SecurityAttributesRegistry::instance().find(HashedText(name));
}

}  // namespace

HANDLE open(const std::string& path, int flags, int /*mode*/, const char* name) {
    checkFlags(flags);
    const HANDLE file =
        CreateFileW(System::unicodePath(path).c_str(), desiredAccess(flags), shareAll,
                    attributesOf(name), creationDisposition(flags),
                    FILE_FLAG_SEQUENTIAL_SCAN | FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr);
    if (file != INVALID_HANDLE_VALUE && (flags & _O_APPEND) != 0) {
        // Without a high word, Windows refuses to move to the end of a file above 4 GB.
        LONG high = 0;
        SetFilePointer(file, 0, &high, FILE_END);
    }
    return file;
}
