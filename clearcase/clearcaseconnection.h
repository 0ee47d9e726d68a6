#pragma once

// The contract between a host and a connection library, and all that a host compiles against.
//
// A host loads the library, asks it for the function named CLEARCASE_IMPL_CTOR and calls it:
//
//     const auto make = reinterpret_cast<ClearCaseImplCtorFunction*>(
//         GetProcAddress(library, CLEARCASE_IMPL_CTOR));
//     const std::unique_ptr<ClearCaseConnection> connection(make(nullptr));
//
// Strings, maps and vectors cross the boundary, so that host and library have to be built with the
// same compiler, the same standard library and one C runtime heap. All text is UTF-8. Paths may use
// either separator.

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
    /// The complaints that the connection has written so far, each with its line end. Reading
    /// doesn't consume them.
    virtual std::string getError() = 0;
    /// Empties what the two operations above return.
    virtual void clearMessages() = 0;

    /// What is the element at `path`, at which version, and where does it lead if it is a link?
    /// `path` is absolute: the process is stopped at a relative one. `version` and `target` may be
    /// null. `version` is always written, with an empty text if there is none; `target` is
    /// written only where a link is resolved. The result is an `ElementType`.
    virtual int getElementStatus(const char* path, std::string* version, std::string* target) = 0;

    /// The one spelling of `path`, which may lie on the MVFS drive or on a view drive: on the
    /// route by which one of `vobTags` reaches it. `cwd` is absolute and serves a relative `path`.
    /// A path that was moved to another route comes back with backslashes, every other with
    /// forward slashes.
    virtual std::string canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                             const std::vector<std::string>& vobTags) = 0;

    /// The view that the process is set to, empty if there is none.
    virtual std::string getViewTag() = 0;

    /// Appends to `results` each VOB, its tag behind `root`, and whether it can be written there.
    virtual void probeVobs(const std::string& root, std::vector<VobRecord>& results) = 0;

    /// Sets "product", "version" and "osname" in `info`; other keys stay. The first argument is
    /// not read.
    virtual void getProductInfo(const void* unused, std::map<std::string, std::string>& info) = 0;

    /// Replaces `drives` by a map of view drives ("X:") to view tags, and returns the MVFS drive
    /// ("M:"), empty if none is connected. Both are as they were when the library was loaded.
    virtual std::string getMvfsDrives(std::map<std::string, std::string>& drives) = 0;

    /// May throw std::runtime_error.
    virtual void startSession() = 0;
    virtual bool isReady() = 0;
    /// May throw std::runtime_error.
    virtual void killConnection() = 0;
};

/// The one exported function: a new connection that the caller owns, or null if there is no memory
/// for it. The argument is not read.
using ClearCaseImplCtorFunction = ClearCaseConnection*(void* unused);
inline constexpr const char* CLEARCASE_IMPL_CTOR = "ClearCaseImplCtor";
