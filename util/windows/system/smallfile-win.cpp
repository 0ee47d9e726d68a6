#include "util/windows/system/smallfile-win.h"

#include <algorithm>
#include <cstddef>
#include <fcntl.h>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include <windows.h>

#include "util/escapedoutput.h"
#include "util/filetime.h"
#include "util/platform/errortext-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/openfile-win.h"
#include "util/windows/system/files-win.h"

namespace {

constexpr int allMayUse = 0777;
constexpr int allMayReadAndWrite = 0666;
constexpr size_t suffixLength = 6;
constexpr int furtherTries = 599;
constexpr DWORD pause = 100;  // milliseconds

/// Replaces the text with the message, or clears it if there is no memory for the message.
template <class Compose>
int fail(ReadFileResult result, std::string& text, Compose compose) {
    try {
        text = compose();
    } catch (const std::bad_alloc&) {
        text.clear();
    }
    return result;
}

int failCall(ReadFileResult result, std::string& text, const std::string& path, const char* what) {
    return fail(result, text, [&] { return fileErrorText(path, what); });
}

int failLength(ReadFileResult result, std::string& text, const std::string& path, uint64_t size) {
    return fail(result, text, [&] {
        return escapeUtf8(path).append(": file too long: ").append(std::to_string(size));
    });
}

/// Makes `text` longer. Returns false if there is no memory, or if a string can't be that long.
bool grow(std::string& text, size_t size) {
    try {
        text.resize(size);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        return false;
    }
}

/// Reads by one call if the size fits into a DWORD. `size` becomes the number of bytes read.
bool readBytes(HANDLE file, char* place, size_t& size) {
    constexpr size_t most = std::numeric_limits<DWORD>::max();
    size_t done = 0;
    DWORD count = 0;
    do {
        const auto wanted = static_cast<DWORD>(std::min(size - done, most));
        if (!ReadFile(file, place + done, wanted, &count, /*lpOverlapped=*/nullptr)) {
            return false;
        }
        done += count;
    } while (count == most);
    size = done;
    return true;
}

int readOpenFile(HANDLE file, const std::string& path, std::string& text) {
    LARGE_INTEGER fileSize = {};
    if (!GetFileSizeEx(file, &fileSize)) {
        return failCall(fileSizeUnknown, text, path, "failed to get size of file");
    }
    auto size = static_cast<size_t>(fileSize.QuadPart);
    const size_t start = text.size();
    if (size > std::numeric_limits<size_t>::max() - start) {
        return failLength(fileTooLong, text, path, size);
    }
    if (!grow(text, start + size)) {
        return failLength(fileBeyondMemory, text, path, size);
    }
    if (!readBytes(file, text.data() + start, size)) {
        return failCall(fileNotRead, text, path, "failed to read file");
    }
    text.resize(start + size);
    return fileIsRead;
}

/// Repeats an attempt. Returns whether it succeeds in the end.
template <class Attempt>
bool retry(Attempt attempt) {
    if (attempt()) {
        return true;
    }
    const DWORD error = GetLastError();
    bool isDone = false;
    for (int i = 0; i < furtherTries && !isDone; ++i) {
        SleepEx(pause, /*bAlertable=*/FALSE);
        isDone = attempt();
    }
    SetLastError(error);
    return isDone;
}

}  // namespace

int readFile(const std::string& path, std::string& text) noexcept {
    // NOLINTNEXTLINE(clang-analyzer-unix.API): not the function of the C runtime
    ScopedHandle file(open(path, _O_RDONLY, allMayReadAndWrite, /*name=*/nullptr));
    if (!file.isOpen()) {
        return failCall(fileNotOpened, text, path, "failed to open file");
    }
    const int result = readOpenFile(file.get(), path, text);
    if (result == fileIsRead && !CloseHandle(file.detach())) {
        return failCall(fileNotClosed, text, path, "failed to close file");
    }
    return result;
}

std::string fileErrorText(StringSpan path, StringSpan what) {
    const DWORD error = GetLastError();
    std::ostringstream out;
    out << EscapedUtf8{path} << ": " << what.view() << ": " << ErrorNumber{error};
    std::string text = out.str();
    SetLastError(error);
    return text;
}

void UniqueSuffix::advance() {
    if (mStep == 0) {
        const FileTime now = FileTime::now();
        mValue = static_cast<uint32_t>(now.ticks() + static_cast<uint64_t>(now.nanos())) % modulus;
        // The step must not be a multiple of the modulus: the value would never change.
        mStep = GetCurrentProcessId();
        if (mStep % modulus == 0) {
            mStep = mValue % modulus != 0 ? mValue : 1;
        }
    }
    mValue = static_cast<uint32_t>((uint64_t{mValue} + mStep) % modulus);
}

UniqueName::UniqueName(const std::string& prefix, const UniqueSuffix& suffix)
    : mName(prefix), mSuffix(suffix) {
    mName.append(suffixLength, '0');
}

const std::string& UniqueName::next() {
    mSuffix.advance();
    constexpr std::string_view digits = "0123456789ABCDEFGHIJKLMNOPQRSTUV";
    constexpr auto base = static_cast<uint32_t>(digits.size());
    uint32_t value = mSuffix.mValue;
    for (size_t i = 1; i <= suffixLength; ++i) {
        mName[mName.size() - i] = digits[value % base];
        value /= base;
    }
    return mName;
}

std::string makeUniqueDirectory(const std::string& prefix) {
    UniqueName name(prefix);
    for (;;) {
        const std::string& path = name.next();
        if (System::makeDirectory(path, allMayUse)) {
            return path;
        }
        if (GetLastError() != ERROR_ALREADY_EXISTS) {
            return {};
        }
    }
}

bool renameRetrying(const std::string& from, const std::string& to) {
    return retry([&] { return System::rename(from, to, /*acrossVolumes=*/false); });
}

bool removeRetrying(const std::string& path, bool force) {
    return retry([&] { return System::remove(path, force) == callSucceeded; });
}
