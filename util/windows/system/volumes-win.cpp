#include "util/windows/system/volumes-win.h"

#include <array>
#include <cwchar>
#include <cwctype>
#include <ostream>
#include <utility>

#include <windows.h>

#include "util/pathfun.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/processlocale.h"
#include "util/stringformat.h"
#include "util/valueconversion.h"
#include "util/windows/system-paths-win.h"

namespace {

using Name = std::array<wchar_t, MAX_PATH + 1>;

// The words are written in this order, that of the bits.
constexpr std::pair<DWORD, const char*> fileSystemFlags[] = {
    {FILE_CASE_SENSITIVE_SEARCH, "case-sensitive"},
    {FILE_CASE_PRESERVED_NAMES, "case preserved"},
    {FILE_UNICODE_ON_DISK, "Unicode"},
    {FILE_PERSISTENT_ACLS, "ACLs"},
    {FILE_FILE_COMPRESSION, "compression"},
    {FILE_VOLUME_QUOTAS, "quotas"},
    {FILE_SUPPORTS_SPARSE_FILES, "sparse files"},
    {FILE_SUPPORTS_REPARSE_POINTS, "reparse points"},
    {FILE_VOLUME_IS_COMPRESSED, "compressed volume"},
    {FILE_SUPPORTS_OBJECT_IDS, "object IDs"},
    {FILE_SUPPORTS_ENCRYPTION, "encryption"},
    {FILE_NAMED_STREAMS, "streams"},
    {FILE_READ_ONLY_VOLUME, "read-only"},
    {FILE_SEQUENTIAL_WRITE_ONCE, "single sequential write"},
    {FILE_SUPPORTS_TRANSACTIONS, "transactions"},
    {FILE_SUPPORTS_HARD_LINKS, "hard links"},
    {FILE_SUPPORTS_EXTENDED_ATTRIBUTES, "extended attributes"},
    {FILE_SUPPORTS_OPEN_BY_FILE_ID, "open by file ID"},
    {FILE_SUPPORTS_USN_JOURNAL, "USN journal"},
};

std::string flagWords(DWORD flags) {
    std::string words;
    for (const auto& [bit, word] : fileSystemFlags) {
        if ((flags & bit) != 0) {
            words.append(words.empty() ? "" : ", ").append(word);
        }
    }
    return words;
}

std::pair<VolumeType, std::string> typeOfDrive(UINT drive) {
    switch (drive) {
        case DRIVE_UNKNOWN:
            return {VolumeType::other, "unknown"};
        case DRIVE_NO_ROOT_DIR:
            return {VolumeType::other, "invalid root path"};
        case DRIVE_REMOVABLE:
            return {VolumeType::removable, "removable media"};
        case DRIVE_FIXED:
            return {VolumeType::fixed, "fixed media"};
        case DRIVE_REMOTE:
            return {VolumeType::remote, "remote drive"};
        case DRIVE_CDROM:
            return {VolumeType::cdrom, "CD-ROM"};
        case DRIVE_RAMDISK:
            return {VolumeType::other, "RAM disk"};
        default:
            return {VolumeType::other, format(64, "unexpected drive type 0x%x!", drive)};
    }
}

/// Writes lines to a stream, or nowhere.
class Account {
public:
    explicit Account(std::ostream* out) : mOut(out) {}

    bool isWanted() const { return mOut != nullptr; }

    template <class... Texts>
    void line(const Texts&... texts) const {
        if (mOut != nullptr) {
            std::string text;
            (text.append(texts), ...);
            *mOut << text.append(1, '\n');
        }
    }

private:
    std::ostream* mOut;
};

/// Returns the root about which Windows is asked. Adds no trailing backslash.
std::wstring rootOf(const std::string& path, const Account& account) {
    std::string real;
    if (!System::longPath(path, real)) {
        // `real` is now the absolute form.
        account.line("Couldn't convert '", real, "' to a real path.");
        // Compatibility: goes on with the path as passed, not with its absolute form, so a relative
        // path without a long form isn't looked for on the current drive.
        real = path;
    }
    PathRange range;
    std::string root;
    if (parsePathRoot(real, range, &root, windowsPaths)) {
        toBackslashes(root);
    } else {
        account.line("getRoot(", real, ") failed.");
        root = real;
    }
    return toWide(root);
}

void reportDevice(const std::wstring& root, const Account& account) {
    if (!account.isWanted() || root.size() < 2 || std::iswalpha(root[0]) == 0 || root[1] != L':') {
        return;
    }
    const std::string name = toUtf8(root);
    Name device = {};
    if (QueryDosDeviceW(root.c_str(), device.data(), device.size()) != 0) {
        account.line(name, " is ", toUtf8(device.data()));
    } else {
        const DWORD error = GetLastError();
        const std::string context = std::string("QueryDosDevice(\"").append(name).append("\")");
        account.line(win32ErrorText(context.c_str(), static_cast<int>(error)));
    }
}

VolumeType reportDrive(const std::wstring& root, const Account& account) {
    const auto [type, word] = typeOfDrive(GetDriveTypeW(root.c_str()));
    if (account.isWanted()) {
        // Compatibility: only this line is in the locale's character set, so characters that the
        // locale lacks are `?` in it.
        account.line("Drive type of ", narrowText(root, '?', processLocale()), " is ", word);
    }
    return type;
}

/// Whether the file system is the MVFS.
bool reportVolume(const std::wstring& root, const Account& account) {
    Name volume = {};
    Name fileSystem = {};
    DWORD serialNumber = 0;
    DWORD longestName = 0;
    DWORD flags = 0;
    if (!GetVolumeInformationW(root.c_str(), volume.data(), volume.size(), &serialNumber,
                               &longestName, &flags, fileSystem.data(), fileSystem.size())) {
        const DWORD error = GetLastError();
        if (account.isWanted()) {
            const std::string context =
                std::string("GetVolumeInformation(\"").append(toUtf8(root)).append("\")");
            account.line(win32ErrorText(context.c_str(), static_cast<int>(error)));
        }
        return false;
    }
    const bool isMvfs = std::wcscmp(fileSystem.data(), L"MVFS") == 0;
    if (account.isWanted()) {
        const std::string name = toUtf8(root);
        account.line(name, " \"", toUtf8(volume.data()), "\" is ", toUtf8(fileSystem.data()),
                     ", serial #", std::to_string(serialNumber), ", maximum file name length ",
                     std::to_string(longestName), ",");
        account.line("flags 0x", format(16, "%lx", flags), ":  ", flagWords(flags));
        if (isMvfs) {
            account.line(name, " is MVFS.");
        }
    }
    return isMvfs;
}

}  // namespace

VolumeType System::volumeType(const std::string& path, std::ostream* out) {
    const Account account(out);
    std::wstring root = rootOf(path, account);
    reportDevice(root, account);
    if (root.empty() || root.back() != L'\\') {
        root += L'\\';
    }
    const VolumeType type = reportDrive(root, account);
    return reportVolume(root, account) ? VolumeType::mvfs : type;
}
