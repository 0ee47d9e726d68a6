#include "util/windows/system/trees-win.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "util/pathfun.h"
#include "util/platform/errortext-win.h"
#include "util/windows/existingfile-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/directorysearch-win.h"
#include "util/windows/system/files-win.h"

namespace {

struct ViewCloser {
    void operator()(const void* view) const { UnmapViewOfFile(view); }
};
using FileView = std::unique_ptr<const char, ViewCloser>;

/// Creates a file that everybody may use, or empties an existing one.
ScopedHandle createOpenToAll(const std::wstring& name) {
    SECURITY_DESCRIPTOR descriptor;
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, /*bDaclPresent=*/TRUE, /*pDacl=*/nullptr,
                              /*bDaclDefaulted=*/FALSE);
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, &descriptor, /*bInheritHandle=*/FALSE};
    return ScopedHandle(CreateFileW(name.c_str(), GENERIC_WRITE, shareAll, &attributes,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                    /*hTemplateFile=*/nullptr));
}

bool writeAll(HANDLE file, const char* data, uint64_t size) {
    constexpr uint64_t pieceSize = 65536;
    for (uint64_t done = 0; done < size;) {
        const auto piece = static_cast<uint32_t>(std::min(pieceSize, size - done));
        const int64_t written = writeWithRetry(file, data + done, piece);
        if (written == 0) {
            SetLastError(ERROR_WRITE_FAULT);  // nothing was written, and no error was reported
        }
        if (written <= 0) {
            return false;
        }
        done += static_cast<uint64_t>(written);
    }
    return true;
}

/// Sets `message` to what failed and the text for GetLastError. Returns false.
bool copyFailed(std::string& message, const char* what) {
    const char* const why = lastErrorText(/*withCode=*/false, /*error=*/nullptr, errorOfSystem);
    message = "System::copy ";
    message.append(what).append(": ").append(why);
    return false;
}

/// Copies the first `size` bytes, at least one, of `source`.
bool copyContent(HANDLE source, HANDLE destination, uint64_t size, std::string& message) {
    const ScopedHandle mapping(CreateFileMappingA(source, /*lpFileMappingAttributes=*/nullptr,
                                                  PAGE_READONLY, /*dwMaximumSizeHigh=*/0,
                                                  /*dwMaximumSizeLow=*/0, /*lpName=*/nullptr));
    if (!mapping.isOpen()) {
        return copyFailed(message, "unable to create file mapping");
    }
    const FileView view(
        static_cast<const char*>(MapViewOfFile(mapping.get(), FILE_MAP_READ, /*dwFileOffsetHigh=*/0,
                                               /*dwFileOffsetLow=*/0, /*dwNumberOfBytesToMap=*/0)));
    if (view == nullptr) {
        return copyFailed(message, "unable to create mapped view");
    }
    if (!writeAll(destination, view.get(), size)) {
        return copyFailed(message, "exception while writing");
    }
    // Compatibility: the copy counts as successful even if it can't be flushed.
    FlushFileBuffers(destination);
    return true;
}

}  // namespace

bool System::copy(const std::string& source, const std::string& destination, std::string& message) {
    const ScopedHandle from =
        openExisting(unicodePath(source), GENERIC_READ, FILE_ATTRIBUTE_NORMAL);
    if (!from.isOpen()) {
        return copyFailed(message, "unable to open source file");
    }
    LARGE_INTEGER size;
    if (!GetFileSizeEx(from.get(), &size)) {
        return copyFailed(message, "unable to get source file size");
    }
    const ScopedHandle to = createOpenToAll(unicodePath(destination));
    if (!to.isOpen()) {
        return copyFailed(message, "unable to open destination file");
    }
    // An empty file can't be mapped.
    return size.QuadPart == 0 ||
           copyContent(from.get(), to.get(), static_cast<uint64_t>(size.QuadPart), message);
}

bool System::walkTree(const std::string& path, TreeVisitor& visitor, bool recurse) {
    std::deque<std::string> directories{path};
    for (; !directories.empty(); directories.pop_front()) {
        const std::string& directory = directories.front();
        std::vector<std::string> leaves;
        std::vector<FileStat> stats;
        if (!listDirectory(directory, leaves, &stats)) {
            return false;
        }
        for (size_t i = 0; i < leaves.size(); ++i) {
            if (isDotName(leaves[i])) {
                continue;
            }
            if (stats[i].isNotDirectory()) {
                visitor.visitFile(directory, leaves[i], stats[i]);
            } else if (recurse) {
                directories.push_back(joinPath(directory, leaves[i], '/'));
            }
        }
    }
    return true;
}

uint64_t System::treeSize(const std::string& path) {
    uint64_t size = 0;
    std::vector<std::wstring> patterns{unicodePath(joinPath(path, "*", '/'))};
    while (!patterns.empty()) {
        const std::wstring pattern = std::move(patterns.back());
        patterns.pop_back();
        WIN32_FIND_DATAW entry;
        DirectorySearch search;
        for (bool found = search.first(pattern, entry); found; found = search.next(entry)) {
            const FileStat stat(entry);
            if (stat.isNotDirectory()) {
                size += stat.size;
            } else if (!isDotEntry(entry)) {
                patterns.push_back(pattern.substr(0, pattern.size() - 1));
                patterns.back().append(entry.cFileName).append(L"\\*");
            }
        }
    }
    return size;
}
