#pragma once

// What a child process gets from its parent beside its command line: the environment and the
// current directory.

#include <cstddef>
#include <string>
#include <vector>

#include "util/mutex-pthreads.h"

/// Held while the process's current directory and `Path` are a child's. Recursive, as a command may
/// need another one to be started at all. No other code may rely on the two meanwhile.
extern Mutex gProcessEnvironmentLock;

/// Fills `block` with the strings of `environment` in UTF-16, as CreateProcess wants them with
/// CREATE_UNICODE_ENVIRONMENT, and returns its start, good as long as `block` is. They are sorted
/// by the bytes of their names, which end at the first "=", and of equal names the first string
/// counts; "PATH" and "Path" are two names. A string without "=" gets one. The current directories
/// of drives ("=C:=C:\") all have the empty name, so that one of them is left.
/// `environment` is a block of UTF-8 strings, not null. Any thread may call.
wchar_t* buildEnvironmentBlock(std::vector<wchar_t>& block, const char* environment);

/// How large a block of narrow strings is.
struct EnvironmentSize {
    size_t strings = 0;
    size_t bytes = 0;  ///< with all NULs
};
/// All 0 for null.
EnvironmentSize environmentSize(const char* environment);

/// Makes the process's current directory and `Path` those of a child until it ends, with
/// `gProcessEnvironmentLock` held.
class ChildEnvironmentScope {
public:
    /// `environment`, null or a block that outlives the scope, gives `Path` unless it has none; an
    /// empty `workingDirectory` leaves the directory. Both values of `Path` go through the ANSI
    /// code page, so that the process's own, too, loses characters that this lacks. Throws
    /// NumberedRuntimeError, 5008, with the system's words if that can't be entered.
    ChildEnvironmentScope(const char* environment, const std::string& workingDirectory);
    ~ChildEnvironmentScope();
    ChildEnvironmentScope(const ChildEnvironmentScope&) = delete;
    ChildEnvironmentScope& operator=(const ChildEnvironmentScope&) = delete;

    /// The value of the first PATH, in any case of letters, a pointer into the caller's block; null
    /// if it has none.
    const char* childPath() const { return mChildPath; }

private:
    MutexLock mLock;  ///< the first, so that it is given back last
    const char* mChildPath;
    std::string mSavedDirectory;
    std::string mSavedPath;
};
