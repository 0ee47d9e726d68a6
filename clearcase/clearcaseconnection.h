#pragma once

// The contract between a host and a connection library, and all that a host compiles against.
//
// A host loads the library, asks it for the function named CLEARCASE_IMPL_CTOR and calls it:
//
//     const auto make = reinterpret_cast<ClearCaseImplCtorFunction*>(
//         reinterpret_cast<void*>(GetProcAddress(library, CLEARCASE_IMPL_CTOR)));
//     const std::unique_ptr<ClearCaseConnection> connection(make(nullptr));
//
// Strings, maps and vectors cross the boundary, so that host and library have to be built with the
// same compiler, the same standard library and one C runtime heap. Text is UTF-8, save where an
// operation says otherwise. Paths may use either separator.
//
// Any thread may call any operation at any time, save that `clearMessages` must run beside neither
// itself nor the two operations that read the messages.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// What an element is. The values are the results of `getElementStatus`.
enum ElementType : int32_t {
    elementUnexpected = -1,
    elementNull = 0,
    elementVersion = 1,
    elementDirectoryVersion = 2,
    elementSymbolicLink = 3,
    elementViewPrivate = 4,
    elementViewDerived = 5,
    elementDerivedObject = 6,
    elementCheckedOutFile = 7,
    elementCheckedOutDir = 8,
};

/// Whether a VOB can be written.
enum VobState : int32_t {
    vobWritable = 0,
    vobReadOnly = 1,
    vobNotDetermined = 2,
};

struct VobRecord {
    std::string tag;
    VobState state = vobWritable;
};

/// One connection. The order of the operations is part of the contract: a host calls them through
/// the table of the class. The host ends a connection through the virtual destructor.
class ClearCaseConnection {
public:
    virtual ~ClearCaseConnection() = default;

    /// The text that the connection has written so far. Reading doesn't consume it.
    virtual std::string getOutput() = 0;
    /// The complaints about the configuration file, each with its line end. Reading doesn't
    /// consume them.
    virtual std::string getError() = 0;
    /// Empties what the two operations above return.
    virtual void clearMessages() = 0;

    /// What is the element at `path`, at which version, and where does it lead if it is a link?
    /// `path` isn't null, and absolute: the process is stopped at a relative one. `version` and
    /// `target` may be null. `version` is always written, with an empty text if there is none;
    /// `target` is written only where a link is resolved. The result is an `ElementType`.
    virtual int getElementStatus(const char* path, std::string* version, std::string* target) = 0;

    /// The one spelling of `path`, which may lie on the MVFS drive or on a view drive: on the
    /// route by which one of `vobTags` reaches it. A relative `path` is taken against `cwd`, and
    /// one with a leading separator, a UNC path included, against the drive of `cwd`; what is not
    /// absolute then stops the process. A path that was moved to another route comes back with
    /// backslashes, every other with forward slashes. A path that should be moved and can't is
    /// complained of on standard error, and comes back with backslashes too.
    virtual std::string canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                             const std::vector<std::string>& vobTags) = 0;

    /// The view that the process is set to, empty if there is none.
    virtual std::string getViewTag() = 0;

    /// Finds out by trying which VOBs can be written below `root`, and appends a record for each to
    /// `results`: its folder (the tag directly behind `root`, with forward slashes, the first of
    /// the doubled ones halved, the first letter in upper case), and whether it is writable, on a
    /// write-protected medium, or neither could be told. Both texts are taken in the system's code
    /// page.
    virtual void probeVobs(const std::string& root, std::vector<VobRecord>& results) = 0;

    /// Sets "product", "version" and "osname" in `info`; other keys stay. The first argument is
    /// not read.
    virtual void getProductInfo(const void* unused, std::map<std::string, std::string>& info) = 0;

    /// Replaces `drives` by a map of view drives ("X:") to view tags, and returns the MVFS drive
    /// ("M:"), empty if none is connected. Both are as they were when the library was loaded, and
    /// in the system's code page.
    virtual std::string getMvfsDrives(std::map<std::string, std::string>& drives) = 0;

    /// May throw std::runtime_error.
    virtual void startSession() = 0;
    /// Whether the connection can be asked.
    virtual bool isReady() = 0;
    /// May throw std::runtime_error.
    virtual void killConnection() = 0;
};

/// The one exported function: a new connection that the caller owns, or null if there is no memory
/// for it; memory that runs out later, while the connection is made, is std::bad_alloc. The
/// argument is not read.
using ClearCaseImplCtorFunction = ClearCaseConnection*(void* unused);
inline constexpr const char* CLEARCASE_IMPL_CTOR = "ClearCaseImplCtor";
