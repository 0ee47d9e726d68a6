#include "tools/ccquery/journals/journalprogram-win.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <io.h>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <windows.h>

#include "clearcase/configurationsource-win.h"
#include "tools/ccquery/connectionlibrary-win.h"
#include "tools/ccquery/journals/progressline.h"
#include "tools/ccquery/journals/recordcommand.h"
#include "tools/ccquery/journals/usagecommand.h"
#include "tools/ccquery/journals/verifycommand.h"
#include "tools/shared/console-win.h"
#include "tools/shared/systemerror-win.h"
#include "tools/shared/wholefile-win.h"
#include "util/pathcollation.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/filestat-win.h"
#include "util/windows/system/smallfile-win.h"

namespace ccquery {

using tools::systemErrorText;

namespace {

/// A file that is read in binary mode.
class FileStream : public std::istream {
public:
    /// Throws std::runtime_error, whose message is the reason.
    explicit FileStream(const std::string& file) : std::istream(nullptr) {
        // Journals are read in large blocks.
        mFile.pubsetbuf(nullptr, 0);
        if (mFile.open(System::unicodePath(file).c_str(), std::ios::in | std::ios::binary) ==
            nullptr) {
            throw std::runtime_error(std::strerror(errno));
        }
        rdbuf(&mFile);
    }

private:
    std::filebuf mFile;
};

/// Returns the bytes of the files, but for those that Windows doesn't find.
uint64_t sizeOf(const std::vector<std::string>& files) {
    uint64_t total = 0;
    for (const std::string& file : files) {
        WIN32_FILE_ATTRIBUTE_DATA data;
        if (GetFileAttributesExW(System::unicodePath(file).c_str(), GetFileExInfoStandard, &data)) {
            total += uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
        }
    }
    return total;
}

void writeToTerminal(const std::string& text) { std::cerr << text << std::flush; }

void setViewRoot(const std::optional<std::string>& value) {
    const std::wstring text = toWide(value.value_or(""));
    // The C runtime's call, so that the library's runtime sees it as well. It takes an empty text
    // for no variable.
    _wputenv_s(L"CLEARCASE_ROOT", text.c_str());
    if (value && text.empty()) {
        SetEnvironmentVariableW(L"CLEARCASE_ROOT", L"");
    }
}

std::string bytesOf(const std::string& file) {
    std::string text;
    if (readFile(file, text) != fileIsRead) {
        const DWORD error = GetLastError();
        throw std::runtime_error("can't read the configuration '" + file + "': " +
                                 systemErrorText(error) + "; name another by --config FILE");
    }
    return text;
}

/// Whether a fake would find a file there.
bool isThere(const std::string& path) {
    FileStat stat;
    return stat.read(path, /*unused=*/0);
}

/// Whether there is one file at both paths, such as a share and a drive of it.
bool isSameFile(const std::string& a, const std::string& b) {
    FileStat first;
    FileStat second;
    return first.read(a, /*unused=*/0) && second.read(b, /*unused=*/0) && first.fileIndex != 0 &&
           first.fileIndex == second.fileIndex && first.device == second.device;
}

bool isSamePath(const std::string& a, const std::string& b) {
    const auto completed = [](const std::string& path) {
        std::error_code failure;  // then the path is empty
        const auto whole = std::filesystem::absolute(toWide(path), failure).lexically_normal();
        return whole.empty() ? path : toUtf8(whole.native());
    };
    return comparePaths(completed(a), completed(b)) == 0 || isSameFile(a, b);
}

void writeFile(const std::string& file, const std::string& text, bool replace) {
    tools::writeWholeFile(file, text, replace);
}

ExitCode run(const Query& query, const JournalProgram& program, ProgressLine& progress) {
    const auto print = [&](const std::string& text) {
        progress.erase();
        program.print(text);
    };
    const auto complain = [&](const std::string& problem) {
        progress.erase();
        program.complain(problem);
    };
    const JournalSource source{
        [](const std::string& file) { return std::make_unique<FileStream>(file); },
        [&](uint64_t bytes) { progress.update(bytes); }};
    switch (query.command) {
        case Command::record:
            return record(query, {source, print, complain, System::exists, isSamePath, writeFile});
        case Command::usage: {
            const std::string file = configurationFile();
            return usage(query, {source, file, bytesOf(file), isThere, print, complain});
        }
        default: {
            const tools::ConsoleColours colours(query.json);
            return verify(query, {source, [&] { return connect(program.library); }, setViewRoot,
                                  print, complain, colours.painter()});
        }
    }
}

}  // namespace

bool isAboutJournals(const Query& query) {
    return query.command == Command::record || query.command == Command::verify ||
           query.command == Command::usage;
}

ExitCode runJournals(const Query& query, const JournalProgram& program) {
    const bool hasTerminal = _isatty(_fileno(stderr)) != 0;
    ProgressLine progress(sizeOf(query.journals), hasTerminal
                                                      ? writeToTerminal
                                                      : std::function<void(const std::string&)>());
    return run(query, program, progress);
}

}  // namespace ccquery
