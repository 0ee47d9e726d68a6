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
    /// What `type` returns and `setType` takes.
    using Type = int;
    enum : Type {
        typeFile = 1,       ///< neither a directory nor a link
        typeLink = 2,       ///< marked by `setLink`, even if it is one to a directory
        typeDirectory = 3,  ///< not marked as a link
    };
    /// Bits for `copyFrom`; others have no effect.
    using CopyMask = unsigned;
    enum : CopyMask {
        copyCreated = 1,      ///< `created`
        copyAccessed = 2,     ///< `accessed`
        copyWritten = 4,      ///< `written`
        copyAttributes = 64,  ///< `attributes`
    };

    uint64_t device = 0;        ///< volume serial number; 0 if unknown
    uint64_t fileIndex = 0;     ///< high and low word joined; 0 if unknown
    uint64_t size = 0;          ///< bytes
    uint64_t links = 0;         ///< number of hard links
    FileTime created;           ///< as the file system says
    FileTime accessed;          ///< as the file system says
    FileTime written;           ///< as the file system says
    uint32_t reserved[3] = {};  ///< always zero
    /// The Windows file attribute bits. The setters keep a rule: the value is never zero. Without
    /// any other bit it is FILE_ATTRIBUTE_NORMAL, which is never combined with another bit. Reading
    /// takes the bits verbatim, except that it drops FILE_ATTRIBUTE_REPARSE_POINT, which may leave
    /// 0. Callers may set that bit to mark a link.
    uint32_t attributes = 0;

    FileStat() = default;
    /// @{
    /// Takes the facts from an entry of a directory listing. Device and index are unknown, and
    /// `links` is 1.
    explicit FileStat(const WIN32_FIND_DATAW& entry);
    explicit FileStat(const WIN32_FIND_DATAA& entry);
    /// @}

    /// Fills the value from the file or directory at `path`, for which no access right is needed.
    /// Returns false, and leaves the value unchanged, if it can't be opened. The second argument
    /// isn't read.
    ///
    /// If something can be opened but has no file information, it is a device: its attribute is
    /// FILE_ATTRIBUTE_DEVICE, its three times are tick 1, its size is what GetFileSize returns
    /// (INVALID_FILE_SIZE if that fails), and nothing else is known.
    [[nodiscard]] bool read(const std::string& path, int unused);

    /// Writes the three times to the file. On a drive whose file system is named "MVFS" a denial of
    /// access counts as success.
    [[nodiscard]] bool applyTimes(const std::string& path);
    /// Writes `attributes` to the file. If the name ends in ".exe", in any case, it also applies an
    /// empty security descriptor without a discretionary list. The result and GetLastError report
    /// only on the attributes.
    [[nodiscard]] bool applyAttributes(const std::string& path);

    /// Copies `device`, `fileIndex`, `size` and `links`, and of the other fields those that the
    /// bits of `mask` select.
    void copyFrom(const FileStat& other, CopyMask mask);
    /// Sets all three times to the current system time.
    void setTimesToNow();

    /// Returns the field of that name.
    [[nodiscard]] uint32_t attributesValue() const { return attributes; }
    /// Whether it is a directory and not a link to one.
    [[nodiscard]] bool isDirectory() const;
    /// Whether it is a file, or a link of either kind.
    [[nodiscard]] bool isNotDirectory() const { return !isDirectory(); }
    /// Whether it has the system attribute.
    [[nodiscard]] bool isSystem() const;
    /// False only for a read-only file; on a directory that bit means something else.
    [[nodiscard]] bool isWritable() const;
    /// Returns one of the three types.
    [[nodiscard]] Type type() const;

    /// Replaces the attributes, by the rule of the setters.
    void setAttributes(uint32_t bits);
    /// Makes the value a directory if `type` is typeDirectory, and otherwise not a directory.
    void setType(Type type);
    /// Sets or clears the read-only attribute.
    void setReadOnly(bool readOnly);
    /// Marks the value as a link.
    void setLink();
};
