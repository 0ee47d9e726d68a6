#include "util/windows/exec/cygwintools-win.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "util/pathfun.h"
#include "util/stringcompare.h"
#include "util/stringedit.h"
#include "util/windows/exec-win.h"
#include "util/windows/exec/environment-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"

namespace {

constexpr auto fileSuffixes = std::to_array<const char*>({".exe", "", ".com", ".cmd", ".bat"});
constexpr const char* linkSuffix = ".lnk";
constexpr int passLimit = 10;

/// Returns the process's own directory. While another thread starts a command, the process is in
/// that command's directory, and the lock is held.
std::string currentDirectory() {
    const MutexLock lock(gProcessEnvironmentLock);
    return System::getcwd();
}

class QuietExec : public Exec {
public:
    void reportError(const char* /*text*/) override {}
};

/// What the command wrote, if it ended with 0.
std::optional<std::string> outputOf(const std::string& line) {
    QuietExec exec;
    Exec::RunInfo info;
    info.mDirectArgv = {line};
    std::string output;
    std::string error;
    bool aborted = false;
    const int32_t code = exec.runCommand(info, currentDirectory(), /*environment=*/nullptr,
                                         /*passThrough=*/nullptr, &output, &error, &aborted);
    return code == 0 ? std::optional(std::move(output)) : std::nullopt;
}

/// `program` ends with a space.
std::string runPathTool(const char* program, std::string options, const std::string& path) {
    // Compatibility: without options there are two spaces before the path. Callers may compare the
    // command line, and the tools accept it.
    options.insert(0, program).append(1, ' ').append(path);
    std::string output = outputOf(options).value_or(std::string());
    trim(output);
    return output;
}

/// Makes a file below the directory relative to it.
void cutDirectory(std::string& file, const std::string& directory) {
    const size_t length = directory.size();
    if (file.size() > length && compareNoCase(file.c_str(), directory.c_str(), length) == 0 &&
        isPathSeparator(file[length])) {
        file.erase(0, length + 1);
    }
}

/// What a name leads to: a file, or the next name of a chain of links, or neither.
struct Found {
    std::string file;
    std::string next;
};

Found findBySuffix(std::string native) {
    for (const char* suffix : fileSuffixes) {
        const std::string candidate = native + suffix;
        if (System::exists(candidate + linkSuffix)) {
            // Compatibility: after a link that can't be read, the other suffixes are tried alone,
            // as names in the current directory, so a file there with such a name is found.
            native = runReadlink(candidate, "");
            if (!native.empty()) {
                return {"", joinPath(parentPath(candidate), native, '/')};
            }
        }
        if (System::exists(candidate)) {
            return {candidate, ""};
        }
    }
    return {};
}

}  // namespace

std::string runCygpath(const std::string& path, std::string options) {
    return runPathTool("cygpath ", std::move(options), path);
}

std::string runReadlink(const std::string& path, std::string options) {
    return runPathTool("readlink ", std::move(options), path);
}

bool makeCygwinSymlink(const std::string& target, const std::string& link) {
    std::string line = "ln -s \"";
    line.append(target).append("\" \"").append(link).append("\"");
    return outputOf(line).has_value();
}

std::string resolveCygwinPath(const std::string& name) {
    if (name.empty()) {
        return {};
    }
    const bool mayBeCut = !name.starts_with('/');
    std::optional<std::string> directory;
    std::string current = name;
    for (int pass = 0; pass < passLimit; ++pass) {
        replaceChar(current, '\\', '/');
        std::string native = runCygpath(current, "-m");
        if (native.empty()) {
            return {};
        }
        if (mayBeCut) {
            if (!directory) {
                directory = currentDirectory();
            }
            cutDirectory(native, *directory);
        }
        Found found = findBySuffix(std::move(native));
        if (found.next.empty()) {
            return found.file;
        }
        current = std::move(found.next);
    }
    return {};
}
