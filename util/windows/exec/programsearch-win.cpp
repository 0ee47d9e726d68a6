#include "util/windows/exec/programsearch-win.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cwctype>
#include <exception>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <windows.h>

#include "util/pathfun.h"
#include "util/platform/unicodetext-win.h"
#include "util/stringsplit.h"
#include "util/windows/environment-win.h"
#include "util/windows/system-paths-win.h"

namespace {

constexpr auto programSuffixes = std::to_array<std::string_view>({".com", ".exe", ".bat", ".cmd"});
constexpr auto noSuffix = std::to_array<std::string_view>({""});

std::span<const std::string_view> suffixesFor(const std::string& name) {
    std::vector<PathRange> components;
    splitPath(name, components, /*rootText=*/nullptr);
    const PathRange last = components.back();
    const std::string_view leaf = std::string_view(name).substr(last.begin, last.length());
    if (leaf.find('.') != std::string_view::npos) {
        return noSuffix;
    }
    return programSuffixes;
}

std::string processPath() {
    const std::optional<std::string> path = environmentVariable("PATH");
    if (!path || path->empty()) {
        throw std::runtime_error("PATH variable not set!");
    }
    return *path;
}

bool isBlank(wchar_t c) { return std::iswspace(c) != 0; }

/// Returns the first word of a line that isn't blank, without quotes around it. A quote without a
/// partner stays.
std::wstring programName(const std::wstring& line, std::wstring::const_iterator start) {
    if (*start == L'"') {
        const auto closing = std::find(start + 1, line.end(), L'"');
        return closing == line.end() ? std::wstring(start, closing)
                                     : std::wstring(start + 1, closing);
    }
    return {start, std::find_if(start, line.end(), isBlank)};
}

void removeQuotes(std::wstring& text) { std::erase(text, L'"'); }

std::wstring::const_iterator firstWordEnd(const std::wstring& line) {
    bool isQuoted = false;
    return std::find_if(line.begin(), line.end(), [&isQuoted](wchar_t c) {
        isQuoted ^= c == L'"';
        return !isQuoted && isBlank(c);
    });
}

void unquoteFirstWord(std::wstring& line) {
    std::wstring word(line.cbegin(), firstWordEnd(line));
    removeQuotes(word);
    line = word + afterFirstWord(line);
}

}  // namespace

System::IsFileExecutable::~IsFileExecutable() = default;

bool System::IsFileExecutableByMe::operator()(const std::string& path, bool* exists) const {
    const DWORD attributes = GetFileAttributesW(unicodePath(path).c_str());
    const bool isThere = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists != nullptr) {
        *exists = isThere;
    }
    constexpr DWORD linkOrDirectory = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    return isThere && (attributes & linkOrDirectory) != FILE_ATTRIBUTE_DIRECTORY;
}

std::string findProgram(const System::IsFileExecutable& test, const std::string& name,
                        const char* path, const char* workingDirectory,
                        bool searchWorkingDirectoryFirst) {
    if (isAbsolutePath(name, windowsPaths) || name.find_first_of("/\\") != std::string::npos) {
        path = ".";
        searchWorkingDirectoryFirst = false;
    }
    const std::span<const std::string_view> suffixes = suffixesFor(name);
    const std::string base = workingDirectory != nullptr && *workingDirectory != '\0'
                                 ? std::string(workingDirectory)
                                 : System::getcwd();
    std::string list = searchWorkingDirectoryFirst ? base + ';' : std::string();
    list += path != nullptr ? path : processPath();

    std::vector<TextRange> directories;
    splitRanges(list, directories, ";", /*keepEmpty=*/false);
    std::string denied;
    for (const auto& [begin, end] : directories) {
        const StringSpan directory(list.data() + begin, end - begin);
        const std::string stem = joinPath(joinPath(base, directory, '/'), name, '\\');
        for (const std::string_view suffix : suffixes) {
            std::string candidate = stem;
            candidate += suffix;
            bool exists = false;
            if (test(candidate, &exists)) {
                toBackslashes(candidate);
                return candidate;
            }
            if (exists && denied.empty()) {
                denied = candidate;
            }
        }
    }
    throw std::runtime_error(denied.empty() ? name + ": Command not found"
                                            : denied + ": Permission denied");
}

std::wstring locateProgram(const std::wstring& commandLine, const char* path,
                           const char* workingDirectory) {
    const auto start = std::find_if_not(commandLine.begin(), commandLine.end(), isBlank);
    if (start == commandLine.end()) {
        return commandLine;
    }
    try {
        return toWide(findProgram(System::IsFileExecutableByMe(),
                                  toUtf8(programName(commandLine, start)), path, workingDirectory,
                                  /*searchWorkingDirectoryFirst=*/true));
    } catch (const std::exception&) {
        // Not found: Windows searches by its own rules.
        return {};
    }
}

std::wstring afterFirstWord(const std::wstring& line) { return {firstWordEnd(line), line.cend()}; }

ProgramAndLine chooseProgram(const std::string& program, const std::wstring& commandLine,
                             const char* path, const char* workingDirectory,
                             const std::function<void(ProgramAndLine&)>& onLocated) {
    ProgramAndLine chosen;
    chosen.line = commandLine;
    if (!program.empty()) {
        chosen.program = toWide(program);
    } else {
        chosen.program = locateProgram(commandLine, path, workingDirectory);
        if (onLocated && !chosen.program.empty()) {
            onLocated(chosen);
        }
    }
    if (chosen.program.empty()) {
        unquoteFirstWord(chosen.line);
    } else {
        removeQuotes(chosen.program);
    }
    return chosen;
}
