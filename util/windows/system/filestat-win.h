#pragma once

#include <cstdint>
#include <string>

#include <windows.h>

#include "util/filetime.h"

/// The facts of one file, as a plain value: filled from the file system or from a directory
/// listing, and written back.
///
/// Operations on files take UTF-8 paths of any length, report by their result and leave the failure
/// in GetLastError. Values share no state: each may be used by one thread at a time.
struct FileStat {
    uint64_t device = 0;     ///< volume serial number; 0 when not known
    uint64_t fileIndex = 0;  ///< high word above low word; 0 when not known
    uint64_t size = 0;       ///< bytes
    uint64_t links = 0;      ///< number of hard links
    FileTime created;
    FileTime accessed;
    FileTime written;
    uint32_t reserved[3] = {};  ///< always zero
    /// The Windows file attribute bits. The setters keep a rule: the word is never zero, as 128
    /// (normal) stands for no other bit, and 128 is combined with none. Filling takes the bits as
    /// they are, less the reparse point bit (0x400), which may leave 0. That bit is for callers to
    /// mark a link with.
    uint32_t attributes = 0;

    FileStat() = default;
    /// From an entry of a directory listing, which knows neither device nor index, and one link.
    explicit FileStat(const WIN32_FIND_DATAW& entry);
    explicit FileStat(const WIN32_FIND_DATAA& entry);

    /// Fills the value from the file or directory at `path`, which needs no right of access. False,
    /// and the value unchanged, if it can't be opened. A thing that opens and has no file
    /// information is a device: attribute 64, all three times at tick 1, the size what GetFileSize
    /// says (0xffffffff where that fails), and nothing else known. The second argument isn't read.
    bool read(const std::string& path, int unused);

    /// Writes the three times to the file. On a drive with a file system named "MVFS" a denial of
    /// access counts as success.
    bool applyTimes(const std::string& path);
    /// Writes `attributes` to the file. To an ".exe" (in any mix of case) an empty security
    /// descriptor without a discretionary list is applied as well. The result and GetLastError tell
    /// of the attributes alone.
    bool applyAttributes(const std::string& path);

    /// Copies `device`, `fileIndex`, `size` and `links`, and by the bits of `mask`: `created` (1),
    /// `accessed` (2), `written` (4), `attributes` (64).
    void copyFrom(const FileStat& other, unsigned mask);
    /// All three times become the present system time.
    void setTimesToNow();

    uint32_t attributesValue() const { return attributes; }
    /// A directory, and no link to one.
    bool isDirectory() const;
    bool isNotDirectory() const { return !isDirectory(); }
    bool isSystem() const;
    /// False for a read-only file only: the bit means something else on a directory.
    bool isWritable() const;
    /// 1 file, 2 link, 3 directory.
    int type() const;

    void setAttributes(uint32_t bits);
    /// 3 makes it a directory, any other value makes it none.
    void setType(int type);
    void setReadOnly(bool readOnly);
    /// Marks the value as a link.
    void setLink();
};
