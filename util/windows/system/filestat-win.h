#pragma once

#include <cstdint>
#include <string>

#include <windows.h>

#include "util/filetime.h"

/// The facts about one file, as a plain value: read from the file system or from a directory
/// listing, and written back.
///
/// Operations on files take UTF-8 paths of any length, report failure by their result, and leave
/// the error in GetLastError. Values share no state: one thread at a time may use each of them.
struct FileStat {
    uint64_t device = 0;     ///< volume serial number; 0 if unknown
    uint64_t fileIndex = 0;  ///< high and low word joined; 0 if unknown
    uint64_t size = 0;       ///< bytes
    uint64_t links = 0;      ///< number of hard links
    FileTime created;
    FileTime accessed;
    FileTime written;
    uint32_t reserved[3] = {};  ///< always zero
    /// The Windows file attribute bits. The setters keep a rule: the value is never zero. Without
    /// any other bit it is 128 (normal), and 128 is never combined with another bit. Reading takes
    /// the bits verbatim, except that it drops the reparse point bit (0x400), which may leave 0.
    /// Callers may set that bit to mark a link.
    uint32_t attributes = 0;

    FileStat() = default;
    /// Takes the facts from an entry of a directory listing. Device and index are unknown, and
    /// `links` is 1.
    explicit FileStat(const WIN32_FIND_DATAW& entry);
    explicit FileStat(const WIN32_FIND_DATAA& entry);

    /// Fills the value from the file or directory at `path`, for which no access right is needed.
    /// Returns false, and leaves the value unchanged, if it can't be opened. The second argument
    /// isn't read.
    ///
    /// If something can be opened but has no file information, it is a device: attribute 64, all
    /// three times at tick 1, the size that GetFileSize returns (0xffffffff if that fails), and
    /// nothing else known.
    [[nodiscard]] bool read(const std::string& path, int unused);

    /// Writes the three times to the file. On a drive whose file system is named "MVFS" a denial of
    /// access counts as success.
    [[nodiscard]] bool applyTimes(const std::string& path);
    /// Writes `attributes` to the file. If the name ends in ".exe", in any case, it also applies an
    /// empty security descriptor without a discretionary list. The result and GetLastError report
    /// only on the attributes.
    [[nodiscard]] bool applyAttributes(const std::string& path);

    /// Copies `device`, `fileIndex`, `size` and `links`, and what the bits of `mask` select:
    /// `created` (1), `accessed` (2), `written` (4), `attributes` (64).
    void copyFrom(const FileStat& other, unsigned mask);
    /// Sets all three times to the current system time.
    void setTimesToNow();

    [[nodiscard]] uint32_t attributesValue() const { return attributes; }
    /// Whether it is a directory and not a link to one.
    [[nodiscard]] bool isDirectory() const;
    [[nodiscard]] bool isNotDirectory() const { return !isDirectory(); }
    [[nodiscard]] bool isSystem() const;
    /// False only for a read-only file; on a directory that bit means something else.
    [[nodiscard]] bool isWritable() const;
    /// Returns 1 for a file, 2 for a link, 3 for a directory.
    [[nodiscard]] int type() const;

    void setAttributes(uint32_t bits);
    /// Makes the value a directory if `type` is 3, and otherwise not a directory.
    void setType(int type);
    void setReadOnly(bool readOnly);
    /// Marks the value as a link.
    void setLink();
};
