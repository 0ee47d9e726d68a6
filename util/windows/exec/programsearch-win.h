#pragma once

// Finds the file that a command line means. Text in, text out: the system is queried only by the
// test of a file, and by the search if it gets no path or no directory. Any thread may call these
// functions.

#include <functional>
#include <string>

namespace System {

/// Tests whether a file is a program.
class IsFileExecutable {
public:
    /// Sets `*exists`, unless `exists` is null, to whether there is such a file at all.
    [[nodiscard]] virtual bool operator()(const std::string& path, bool* exists) const = 0;
    virtual ~IsFileExecutable();
};

/// True for every file, of any kind and with any rights, and for links to directories, but not for
/// directories.
class IsFileExecutableByMe : public IsFileExecutable {
public:
    [[nodiscard]] bool operator()(const std::string& path, bool* exists) const override;
};

}  // namespace System

/// Returns the first file, with backslashes, that passes `test`. Searches the directories of `path`
/// (separated by `;`), and before them the working directory if `searchWorkingDirectoryFirst` is
/// set. Relative directories are relative to the working directory. A null `path` means the
/// process's PATH.
///
/// `workingDirectory` is absolute; null or empty means the process's current directory. If it is
/// searched first and contains `;`, it is split like the path.
///
/// A name that is absolute or contains a slash of either kind isn't searched in the path: it is
/// relative to the working directory.
///
/// A name without a dot in its last component is tried only with suffixes, any other name only
/// unchanged:
///
///     tool    ->  tool.com, tool.exe, tool.bat, tool.cmd
///     tool.x  ->  tool.x
///
/// Throws std::runtime_error: "PATH variable not set!", "FILE: Permission denied" for the first
/// file that exists and fails the test, or "NAME: Command not found".
[[nodiscard]] std::string findProgram(const System::IsFileExecutable& test, const std::string& name,
                                      const char* path, const char* workingDirectory,
                                      bool searchWorkingDirectoryFirst);

/// Returns the file of the program that a command line begins with, found by `findProgram` with the
/// working directory searched first. Empty if it can't be found. A line of only blanks is returned
/// unchanged.
[[nodiscard]] std::wstring locateProgram(const std::wstring& commandLine, const char* path,
                                         const char* workingDirectory);

/// Returns what follows the first word of a line. The word ends at the first white space outside
/// double quotes, so it is empty if the line begins with white space.
[[nodiscard]] std::wstring afterFirstWord(const std::wstring& line);

/// The program and the line for CreateProcess.
struct ProgramAndLine {
    std::wstring program;  ///< the application name; empty for none
    std::wstring line;     ///< the command line
};
/// Returns `program`, or else what `locateProgram` finds, without double quotes, and the line
/// unchanged. If `locateProgram` finds something, `onLocated` may change both before the quotes are
/// removed. If there is no program then, the first word of the line loses its double quotes, and
/// Windows searches for the program by its own rules.
[[nodiscard]] ProgramAndLine chooseProgram(
    const std::string& program, const std::wstring& commandLine, const char* path,
    const char* workingDirectory, const std::function<void(ProgramAndLine&)>& onLocated = {});
