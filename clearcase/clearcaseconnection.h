#pragma once

// The contract between a host and a connection library. A host needs no other header.
//
// The terms: a VOB is a repository, which shows up as a folder in a view. Its tag is the path of
// that folder. A view shows one version of each file; its view tag is its name. Windows reaches a
// dynamic view by two routes:
//
//     M:\viewtag\vob\file    the MVFS drive, which has a folder for each view
//     X:\vob\file            a view drive, which is mapped to one view
//
// A host loads the library, looks up the exported function CLEARCASE_IMPL_CTOR and calls it:
//
//     const auto make = reinterpret_cast<ClearCaseImplCtorFunction*>(
//         reinterpret_cast<void*>(GetProcAddress(library, CLEARCASE_IMPL_CTOR)));
//     const std::unique_ptr<ClearCaseConnection> connection(make(nullptr));
//
// Strings, maps and vectors cross the boundary. Therefore host and library must be built with the
// same compiler and the same standard library, and must share one C runtime heap. Text is UTF-8
// unless an operation says otherwise. Paths may use either separator.
//
// Any thread may call any operation at any time, with one exception: while `clearMessages` runs, no
// other thread may call it, `getOutput` or `getError`.
//
// The library beside this header makes a `FakeClearCase`, which answers from a configuration file
// and from the file system. Where a comment below names it, other libraries may differ.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The types of elements, as `getElementStatus` returns them.
enum ElementType : int32_t {
    elementUnexpected = -1,       ///< none of the others
    elementNull = 0,              ///< there is no element
    elementVersion = 1,           ///< of a file
    elementDirectoryVersion = 2,  ///< a version of a directory
    elementSymbolicLink = 3,      ///< has a target
    elementViewPrivate = 4,       ///< not under version control
    elementViewDerived = 5,       ///< a derived object of the view alone
    elementDerivedObject = 6,     ///< a derived object of a VOB
    elementCheckedOutFile = 7,    ///< can be changed in the view
    elementCheckedOutDir = 8,     ///< can be changed in the view
};

/// Whether a VOB can be written to.
enum VobState : int32_t {
    vobWritable = 0,       ///< a file could be created
    vobReadOnly = 1,       ///< the medium is write-protected
    vobNotDetermined = 2,  ///< creating a file has failed in another way
};

/// A VOB, or the outcome of a probe (see `probeVobs`).
struct VobRecord {
    std::string tag;  ///< the VOB's tag; in results of `probeVobs`, the folder that was probed
    VobState state = vobWritable;  ///< also what a probe found
};

/// One connection. A host calls the operations through the virtual table of the class, so their
/// order is part of the contract. The host ends a connection by deleting it, through
/// the virtual destructor.
class ClearCaseConnection {
public:
    virtual ~ClearCaseConnection() = default;

    /// Returns the text that the connection has written so far. Reading doesn't consume it.
    [[nodiscard]] virtual std::string getOutput() = 0;
    /// Returns the complaints about the configuration file, each with its line end. Reading doesn't
    /// consume them.
    [[nodiscard]] virtual std::string getError() = 0;
    /// Clears what `getOutput` and `getError` return.
    virtual void clearMessages() = 0;

    /// Returns the type of the element at `path` (an `ElementType`). Also reports its version and,
    /// for a symbolic link, its target.
    ///
    /// `path` must not be null and must be absolute: a relative path stops the process.
    ///
    /// `version` may be null. Otherwise it is always written: the version of the element, or an
    /// empty text if it has none.
    ///
    /// `target` may be null. Otherwise it is written only if the element is a symbolic link. An
    /// absolute link text becomes the target verbatim. A relative one is joined to the parent of
    /// `path` as the caller spelled it, and the result isn't normalised.
    ///
    /// `FakeClearCase` finds the element in its configuration; the comparison is case-sensitive. If
    /// it isn't there, the file at `path` decides: a directory is an `elementDirectoryVersion`, a
    /// read-only file an `elementVersion`, and anything else an `elementViewPrivate`, including a
    /// file that is missing or can't be opened. The version of a configured version or directory
    /// version is always "/main/0"; everything else has none.
    [[nodiscard]] virtual int getElementStatus(const char* path, std::string* version,
                                               std::string* target) = 0;

    /// Returns `path` on the route that the host's VOBs use, through the MVFS drive or through a
    /// view drive. `vobTags` are the tags of these VOBs. It works as follows:
    ///
    /// 1. The path is made absolute. A path with a leading separator, a UNC path included, is
    ///    appended to the drive of `cwd`, which is its first two characters. Any other relative
    ///    path is appended to `cwd`. A result that isn't absolute stops the process.
    /// 2. The path is brought into normal form, with forward slashes and an upper-case drive.
    /// 3. If it is neither on the MVFS drive nor on a view drive, it is returned.
    /// 4. Each tag has a root: its view drive ("X:"), or the folder of its view on the MVFS drive
    ///    ("M:\viewtag"). Tags elsewhere are ignored. If the path lies in one of the roots, it is
    ///    returned.
    /// 5. Otherwise the path is moved to the first root that shows the same view by the other
    ///    route, and is returned with backslashes. If several drives are mapped to a view, only the
    ///    first of them, in alphabetical order, counts as the other route of the view's folder.
    /// 6. If there is no such root, the path is returned.
    ///
    /// With the MVFS drive M: and the view drive X:, mapped to the view "tag1":
    ///
    ///     cwd   path              vobTags       result
    ///     C:\w  a\..\b.c          -             C:/w/b.c
    ///     D:\w  c:\src\a.c        -             C:/src/a.c
    ///     D:\w  \src\a.c          -             D:/src/a.c
    ///     D:\w  \\srv\sh\a.c      -             D:/srv/sh/a.c
    ///     D:\w  M:\tag1\vob\a.c   X:\vob        X:\vob\a.c        moved
    ///     D:\w  X:\vob\a.c        M:\tag1\vob   M:\tag1\vob\a.c   moved
    ///     D:\w  x:\vob\a.c        X:\vob        X:/vob/a.c        already in a root
    ///     D:\w  X:\vob\a.c        M:\tag2\vob   X:/vob/a.c        no drive for "tag2"
    ///
    /// Only a path of step 5 has backslashes, so a host must unify separators before it compares
    /// results. Paths are compared with roots without regard to case. The view's name in a tag must
    /// have the case of the view tag.
    ///
    /// Two odd cases: a path that lies on the other route and still can't be moved is reported on
    /// standard error, and comes back with backslashes too. If a view is connected without a drive
    /// letter, an empty tag names it; a path that would have to move to it stops the process.
    [[nodiscard]] virtual std::string canonicalizeViewPath(
        const std::string& cwd, const std::string& path,
        const std::vector<std::string>& vobTags) = 0;

    /// Returns the tag of the view that the process is set to, or an empty text if there is none.
    /// `FakeClearCase` takes the last component of the environment variable CLEARCASE_ROOT, which
    /// it reads at each call.
    [[nodiscard]] virtual std::string getViewTag() = 0;

    /// Tries to create a file in each VOB below `root`, and appends one record for each to
    /// `results`. `FakeClearCase` probes the VOBs of its configuration, in their order, and ignores
    /// the state that they have there.
    ///
    /// The `tag` of a record is the probed folder: `root`, directly followed by the VOB's tag. All
    /// backslashes become forward slashes, the first doubled slash becomes a single one, and the
    /// first letter becomes upper case:
    ///
    ///     root        VOB's tag   folder
    ///     c:\vobs     \a          C:/vobs/a
    ///     \\srv\sh    \a          /srv/sh/a
    ///
    /// The `state` is `vobWritable` if a temporary file could be created there, `vobReadOnly` if
    /// the medium is write-protected, and `vobNotDetermined` after any other failure, such as a
    /// missing folder or a denial of access. The file is removed again, except in a folder whose
    /// name isn't ASCII: there it stays.
    ///
    /// `root` and the tags are in the system's code page.
    virtual void probeVobs(const std::string& root, std::vector<VobRecord>& results) = 0;

    /// Sets the keys "product", "version" and "osname" in `info`; other keys stay. The first
    /// argument is not read.
    virtual void getProductInfo(const void* unused, std::map<std::string, std::string>& info) = 0;

    /// Returns the MVFS drive ("M:"), or an empty text if none is connected, and replaces `drives`
    /// with a map from each view drive ("X:") to its view tag. Both are as they were when the
    /// library was loaded, and are in the system's code page.
    [[nodiscard]] virtual std::string getMvfsDrives(std::map<std::string, std::string>& drives) = 0;

    /// Starts a session. May throw std::runtime_error; `FakeClearCase` has no sessions and always
    /// does.
    virtual void startSession() = 0;
    /// Returns whether the connection can answer. `FakeClearCase` always can.
    [[nodiscard]] virtual bool isReady() = 0;
    /// Kills the connection. May throw std::runtime_error; `FakeClearCase` always does.
    virtual void killConnection() = 0;
};

/// The library's only exported function, and its name. Returns a new connection, which the caller
/// owns, or null if there is no memory for the object. If memory runs out later, while the
/// connection is being constructed, it throws std::bad_alloc. The argument is not read.
/// @{
using ClearCaseImplCtorFunction = ClearCaseConnection*(void* unused);
inline constexpr const char* CLEARCASE_IMPL_CTOR = "ClearCaseImplCtor";
/// @}
