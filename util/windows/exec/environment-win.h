#pragma once

// What a child process gets from its parent besides its command line: the environment and the
// current directory.

#include <cstddef>
#include <string>
#include <vector>

#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"

/// Held while the process's current directory and `Path` are a child's. Recursive, because starting
/// a command may first require running another one. No other code may rely on the directory or on
/// `Path` during this time.
extern Mutex gProcessEnvironmentLock;

/// Fills `block` with the strings of `environment` in UTF-16, as CreateProcess expects them with
/// CREATE_UNICODE_ENVIRONMENT. Returns the start of the block, valid as long as `block` is.
/// `environment` is a block of UTF-8 strings, not null.
///
/// The strings are sorted by the bytes of their names, which end at the first "=". If names are
/// equal, the first string counts; "PATH" and "Path" are different names. A string without "=" gets
/// one at its end. The current directories of drives ("=C:=C:\") all have the empty name, so that
/// only one of them is left.
///
/// Any thread may call.
wchar_t* buildEnvironmentBlock(std::vector<wchar_t>& block, const char* environment);

/// The code of the NumberedRuntimeError that reports a working directory that can't be entered.
inline constexpr int directoryNotEntered = 5008;

/// The size of a block of narrow strings.
struct EnvironmentSize {
    size_t strings = 0;  ///< how many, without the empty one at the end
    size_t bytes = 0;    ///< with all NULs
};
/// Returns the size of a block; all 0 for null.
[[nodiscard]] EnvironmentSize environmentSize(const char* environment);

/// Makes the process's current directory and `Path` those of a child for the lifetime of the scope,
/// and holds `gProcessEnvironmentLock` for that time.
class NB_SCOPED_CAPABILITY [[nodiscard]] ChildEnvironmentScope {
public:
    /// `environment` is null or a block that outlives the scope. Its first PATH becomes `Path`; if
    /// it has none, `Path` stays. An empty `workingDirectory` leaves the directory unchanged. If
    /// there is a PATH, both it and the process's own value pass through the ANSI code page, so
    /// that the latter also loses characters that the code page lacks. Throws NumberedRuntimeError
    /// with the code directoryNotEntered and the system's error text if the directory can't be
    /// entered.
    ChildEnvironmentScope(const char* environment, const std::string& workingDirectory)
        NB_ACQUIRE(gProcessEnvironmentLock);
    ~ChildEnvironmentScope() NB_RELEASE();
    ChildEnvironmentScope(const ChildEnvironmentScope&) = delete;
    ChildEnvironmentScope& operator=(const ChildEnvironmentScope&) = delete;

    /// The value of the first PATH, in any case of letters, as a pointer into the caller's block;
    /// null if the block has none.
    [[nodiscard]] const char* childPath() const { return mChildPath; }

private:
    MutexLock mLock;  ///< the first member, so that it is released last
    const char* mChildPath;
    std::string mSavedDirectory;
    std::string mSavedPath;
};
