// Starts what Windows by itself can't: Cygwin's symbolic links, its scripts and its file names.

#include <algorithm>
#include <cstdint>
#include <exception>
#include <optional>
#include <utility>

#include "util/platform/unicodetext-win.h"
#include "util/scriptline.h"
#include "util/stringedit.h"
#include "util/windows/exec/cygwintools-win.h"
#include "util/windows/exec/programsearch-win.h"
#include "util/windows/exec/run-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/openfile-win.h"
#include "util/windows/system/filestat-win.h"

namespace {

/// Returns the file that a name without slashes means in the search path; empty if there is none.
std::string searchScript(const std::string& name, const char* path) {
    if (name.find_first_of("\\/") != std::string::npos) {
        return {};
    }
    try {
        return findProgram(System::IsFileExecutableByMe(), name, path,
                           /*workingDirectory=*/nullptr, /*searchWorkingDirectoryFirst=*/false);
    } catch (const std::exception&) {
        return {};
    }
}

std::optional<ScriptHead> readHead(const std::string& file) {
    constexpr int readersMode = 0444;
    // NOLINTNEXTLINE(clang-analyzer-unix.API): the check mistakes this for the C runtime's open
    const ScopedHandle handle(open(file, /*flags=*/0, readersMode, /*name=*/nullptr));
    ScriptHead head{};
    DWORD count = 0;
    const bool isRead = handle.isOpen() && ReadFile(handle.get(), head.data(), head.size(), &count,
                                                    /*lpOverlapped=*/nullptr);
    return isRead ? std::optional(head) : std::nullopt;
}

}  // namespace

std::string Exec::translateCached(const std::string& posixName) {
    const auto [entry, isNew] = mPathCache.try_emplace(posixName);
    if (isNew) {
        try {
            entry->second = resolveCygwinPath(posixName);
        } catch (...) {
            // The search failed, so nothing is known about the name.
            mPathCache.erase(entry);
            throw;
        }
        ++mPathCacheMisses;
    } else {
        ++mPathCacheHits;
    }
    return entry->second;
}

std::wstring Exec::scriptCommandLine(const char* commandLine, const char* path) {
    const auto [name, rest] = splitCommandLine(commandLine);
    std::string file = searchScript(name, path);
    if (file.empty()) {
        file = translateCached(name);
    }
    if (file.empty()) {
        return {};
    }
    std::replace(file.begin(), file.end(), '\\', '/');
    std::optional<Interpreter> interpreter;
    if (hasProgramExtension(file)) {
        interpreter = Interpreter{std::exchange(file, {}), ""};
    } else if (const std::optional<ScriptHead> head = readHead(file)) {
        interpreter = interpreterOf(*head);
    }
    if (!interpreter || interpreter->program.empty()) {
        return {};
    }
    trim(interpreter->program);
    // Compatibility: if the interpreter can't be found, only its arguments stay in the line, so
    // that nothing is started.
    interpreter->program = translateCached(interpreter->program);
    return toWide(scriptLine(*interpreter, file, rest));
}

/// Replaces a symbolic link with the file that it names.
void Exec::Run::followCygwinLink(ProgramAndLine& command) {
    constexpr uint16_t attributeVersion = 1007;
    if (!mRunInfo.mCygwinCommand || mExec.mCygwinMajor < attributeVersion) {
        return;
    }
    const std::string name = toUtf8(command.program);
    FileStat facts;
    if (!facts.read(name, 0) || !facts.isSystem()) {
        return;
    }
    const std::string target = mExec.translateCached(name);
    if (target != name) {
        command.program = toWide(target);
        command.line = L'"' + command.program + L'"' + afterFirstWord(command.line);
    }
}
