#include "util/windows/system/filestat-win.h"

#include <array>
#include <string_view>

#include "util/cruntime.h"
#include "util/platform/filetime-win.h"
#include "util/windows/existingfile-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"

namespace {

uint64_t joined(DWORD high, DWORD low) { return static_cast<uint64_t>(high) << 32 | low; }

/// Opens directories as well.
ScopedHandle openAnything(const std::string& path, DWORD access) {
    return openExisting(System::unicodePath(path), access, FILE_FLAG_BACKUP_SEMANTICS);
}

/// Takes the facts that have the same names in a listing entry and in a file's information.
template <class Record>
void takeCommonFacts(const Record& record, FileStat& stat) {
    stat.size = joined(record.nFileSizeHigh, record.nFileSizeLow);
    stat.created = fromWindowsTime(record.ftCreationTime);
    stat.accessed = fromWindowsTime(record.ftLastAccessTime);
    stat.written = fromWindowsTime(record.ftLastWriteTime);
    stat.attributes = record.dwFileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_REPARSE_POINT);
}

void takeDevice(HANDLE device, FileStat& stat) {
    const FileTime first(1, 0);
    stat.device = 0;
    stat.fileIndex = 0;
    stat.links = 0;
    stat.created = first;
    stat.accessed = first;
    stat.written = first;
    stat.attributes = FILE_ATTRIBUTE_DEVICE;
    DWORD high = 0;
    const DWORD low = GetFileSize(device, &high);
    stat.size = joined(high, low);
}

/// Whether the file system of the volume of `path` is "MVFS". If it isn't, the last error becomes a
/// denial of access, unless the path has no long form.
bool liesOnMvfs(const std::string& path) {
    std::string name;
    if (!System::longPath(path, name)) {
        return false;
    }
    std::array<char, MAX_PATH + 1> volume{};
    std::array<char, MAX_PATH + 1> fileSystem{};
    const BOOL known = GetVolumeInformationA(
        name.substr(0, 3).c_str(), volume.data(), volume.size(), /*lpVolumeSerialNumber=*/nullptr,
        /*lpMaximumComponentLength=*/nullptr, /*lpFileSystemFlags=*/nullptr, fileSystem.data(),
        fileSystem.size());
    if (known && std::string_view(fileSystem.data()) == "MVFS") {
        return true;
    }
    SetLastError(ERROR_ACCESS_DENIED);
    return false;
}

/// Applies an empty security descriptor, whose discretionary list is absent and marked as default.
void resetSecurity(const std::wstring& name) {
    SECURITY_DESCRIPTOR empty;
    InitializeSecurityDescriptor(&empty, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&empty, /*bDaclPresent=*/FALSE, /*pDacl=*/nullptr,
                              /*bDaclDefaulted=*/TRUE);
    SetFileSecurityW(name.c_str(), DACL_SECURITY_INFORMATION, &empty);
}

/// Keeps the rule of `attributes`: never zero, and FILE_ATTRIBUTE_NORMAL without any other bit.
uint32_t wellFormed(uint32_t bits) {
    const uint32_t others = bits & ~static_cast<uint32_t>(FILE_ATTRIBUTE_NORMAL);
    return others == 0 ? FILE_ATTRIBUTE_NORMAL : others;
}

uint32_t withBit(uint32_t bits, uint32_t bit, bool set) { return set ? bits | bit : bits & ~bit; }

}  // namespace

FileStat::FileStat(const WIN32_FIND_DATAW& entry) : links(1) { takeCommonFacts(entry, *this); }

FileStat::FileStat(const WIN32_FIND_DATAA& entry) : links(1) { takeCommonFacts(entry, *this); }

// Compatibility: callers pass a second argument, which has no effect.
bool FileStat::read(const std::string& path, int /*unused*/) {
    const ScopedHandle file = openAnything(path, /*access=*/0);
    if (!file.isOpen()) {
        return false;
    }
    BY_HANDLE_FILE_INFORMATION information;
    if (!GetFileInformationByHandle(file.get(), &information)) {
        takeDevice(file.get(), *this);
        return true;
    }
    device = information.dwVolumeSerialNumber;
    fileIndex = joined(information.nFileIndexHigh, information.nFileIndexLow);
    links = information.nNumberOfLinks;
    takeCommonFacts(information, *this);
    return true;
}

bool FileStat::applyTimes(const std::string& path) {
    const ScopedHandle file = openAnything(path, FILE_WRITE_ATTRIBUTES);
    if (!file.isOpen()) {
        return false;
    }
    const FILETIME creation = toWindowsTime(created);
    const FILETIME lastAccess = toWindowsTime(accessed);
    const FILETIME lastWrite = toWindowsTime(written);
    if (SetFileTime(file.get(), &creation, &lastAccess, &lastWrite)) {
        return true;
    }
    if (GetLastError() != ERROR_ACCESS_DENIED) {
        return false;
    }
    OutputDebugStringA("SetFileTime got ERROR_ACCESS_DENIED!\n");
    return liesOnMvfs(path);
}

bool FileStat::applyAttributes(const std::string& path) {
    const std::wstring name = System::unicodePath(path);
    const BOOL applied = SetFileAttributesW(name.c_str(), attributes);
    const DWORD error = GetLastError();
    constexpr std::string_view suffix = ".exe";
    if (path.size() >= suffix.size() &&
        cruntime::stricmp(path.c_str() + path.size() - suffix.size(), suffix.data()) == 0) {
        resetSecurity(name);
        // Compatibility: result and error report only on the attributes.
        SetLastError(error);
    }
    return applied != FALSE;
}

void FileStat::copyFrom(const FileStat& other, CopyMask mask) {
    device = other.device;
    fileIndex = other.fileIndex;
    size = other.size;
    links = other.links;
    if ((mask & copyCreated) != 0) {
        created = other.created;
    }
    if ((mask & copyAccessed) != 0) {
        accessed = other.accessed;
    }
    if ((mask & copyWritten) != 0) {
        written = other.written;
    }
    if ((mask & copyAttributes) != 0) {
        attributes = other.attributes;
    }
}

void FileStat::setTimesToNow() {
    created = FileTime::now();
    accessed = created;
    written = created;
}

bool FileStat::isDirectory() const {
    return (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) ==
           FILE_ATTRIBUTE_DIRECTORY;
}

bool FileStat::isSystem() const { return (attributes & FILE_ATTRIBUTE_SYSTEM) != 0; }

bool FileStat::isWritable() const {
    return (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) !=
           FILE_ATTRIBUTE_READONLY;
}

FileStat::Type FileStat::type() const {
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        return typeLink;
    }
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? typeDirectory : typeFile;
}

void FileStat::setAttributes(uint32_t bits) { attributes = wellFormed(bits); }

void FileStat::setType(Type type) {
    attributes = wellFormed(withBit(attributes, FILE_ATTRIBUTE_DIRECTORY, type == typeDirectory));
}

void FileStat::setReadOnly(bool readOnly) {
    attributes = wellFormed(withBit(attributes, FILE_ATTRIBUTE_READONLY, readOnly));
}

void FileStat::setLink() {
    attributes = wellFormed(withBit(attributes, FILE_ATTRIBUTE_REPARSE_POINT, true));
}
