#pragma once

// Which file a command line means. Text in, text out: only the test of a file asks the system, and
// the search where it is told neither a path nor a directory. Any thread may call these.

#include <functional>
#include <string>

namespace System {

/// Tells whether a file is a program.
class IsFileExecutable {
public:
    /// `*exists`, unless null, tells whether there is such a file at all.
    virtual bool operator()(const std::string& path, bool* exists) const = 0;
    virtual ~IsFileExecutable();
};

/// True for every file, whatever its kind and its rights, and for links to directories, but not for
/// directories.
class IsFileExecutableByMe : public IsFileExecutable {
public:
    bool operator()(const std::string& path, bool* exists) const override;
};

}  // namespace System

/// The first file, with backslashes, that passes `test`: in the directories of `path` (parted by
/// `;`), with the working directory in front of them if `searchWorkingDirectoryFirst` is set.
/// Relative directories are seen from the working directory, which is absolute; null or empty, it
/// is the process's; one with a `;` in it is split like the path. A null `path` is the process's
/// PATH. A name with a slash of either kind, or an absolute one, is seen from the working directory
/// alone.
///
/// A name without a dot in its last component is looked for with .com, .exe, .bat and .cmd behind
/// it, and not as it is; any other as it is alone.
///
/// Throws std::runtime_error: "PATH variable not set!", "FILE: Permission denied" for the first
/// file that is there and fails the test, or "NAME: Command not found".
std::string findProgram(const System::IsFileExecutable& test, const std::string& name,
                        const char* path, const char* workingDirectory,
                        bool searchWorkingDirectoryFirst);

/// The file of the program that a command line begins with, by `findProgram`, the working directory
/// being searched first. Empty if it can't be found. A line of blanks comes back as it is.
std::wstring locateProgram(const std::wstring& commandLine, const char* path,
                           const char* workingDirectory);

/// What stands behind the first word of a line, which ends at the first white space outside double
/// quotes: one that a line begins with makes it empty.
std::wstring behindFirstWord(const std::wstring& line);

/// What CreateProcess is told to start.
struct ProgramAndLine {
    std::wstring program;  ///< the application name; empty for none
    std::wstring line;
};
/// `program`, or else what `locateProgram` finds, without double quotes, and the line as it is.
/// Where `locateProgram` finds something, `onLocated` may change both before the quotes go. Without
/// a program then, the line loses the double quotes of its first word, for Windows to search for
/// the program by its own rules.
ProgramAndLine chooseProgram(const std::string& program, const std::wstring& commandLine,
                             const char* path, const char* workingDirectory,
                             const std::function<void(ProgramAndLine&)>& onLocated = {});
