#include "util/windows/exec/streams-win.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "util/platform/errortext-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"

namespace {

const HANDLE noHandle = INVALID_HANDLE_VALUE;
constexpr DWORD readWrite = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD shareReadWrite = FILE_SHARE_READ | FILE_SHARE_WRITE;

/// Appends the name of a window station or desktop to `name`. Returns false on failure.
bool objectName(HANDLE object, std::wstring& name) {
    std::array<wchar_t, 1024> buffer{};
    if (!GetUserObjectInformationW(object, UOI_NAME, buffer.data(), sizeof buffer,
                                   /*lpnLengthNeeded=*/nullptr)) {
        return false;
    }
    buffer.back() = L'\0';
    name.append(buffer.data());
    return true;
}

bool isCallers(HANDLE handle, DWORD which) { return handle == GetStdHandle(which); }

bool isCallersOutput(HANDLE handle) {
    return isCallers(handle, STD_OUTPUT_HANDLE) || isCallers(handle, STD_ERROR_HANDLE);
}

/// Whether a standard handle was opened for the child.
bool isOwnInput(HANDLE handle) {
    return handle != noHandle && !isCallers(handle, STD_INPUT_HANDLE);
}
bool isOwnOutput(HANDLE handle) { return handle != noHandle && !isCallersOutput(handle); }

void closeProcessHandle(HANDLE handle) noexcept {
    // A failed start may have left null.
    if (handle != noHandle && handle != nullptr) {
        CloseHandle(handle);
    }
}

struct FileOpening {
    DWORD access;
    DWORD share;
    DWORD disposition;
    DWORD flags;
};

/// Opens a file for the child. Waits for a file that another process holds, such as the previous
/// step of a build.
ScopedHandle openInheritable(ChildStreams& streams, const std::string& path,
                             const FileOpening& how) {
    constexpr int attempts = 600;
    constexpr DWORD pause = 100;
    const std::wstring name = System::unicodePath(path);
    for (int attempt = 1;; ++attempt) {
        ScopedHandle file(CreateFileW(name.c_str(), how.access, how.share, &streams.mInherit,
                                      how.disposition, how.flags, /*hTemplateFile=*/nullptr));
        if (file.isOpen() || GetLastError() != ERROR_SHARING_VIOLATION || attempt == attempts) {
            return file;
        }
        Sleep(pause);
    }
}

bool openInput(ChildStreams& streams, const std::string& file, std::string& message) {
    HANDLE& input = streams.mStartup.hStdInput;
    if (!file.empty()) {
        input = openInheritable(streams, file, {GENERIC_READ, shareReadWrite, OPEN_EXISTING, 0})
                    .detach();
        if (input == noHandle) {
            message = withLastError("Exec::runCommand couldn't open file for standard input: ");
        }
        return input != noHandle;
    }
    ScopedHandle readEnd;
    ScopedHandle writeEnd;
    if (!CreatePipe(readEnd.receive(), writeEnd.receive(), &streams.mInherit, /*nSize=*/0)) {
        message = withLastError("Exec::runCommand couldn't create pipe for standard input: ");
        return false;
    }
    input = readEnd.detach();
    if (!CloseHandle(writeEnd.detach())) {
        message = withLastError("Exec::runCommand couldn't close handle for standard input: ");
        return false;
    }
    return true;
}

/// Returns the file of a capture, which `streams` holds.
HANDLE openCapture(ChildStreams& streams, StreamMode mode) {
    const bool isOutput = mode == streamOutput;
    std::string& name = isOutput ? streams.mOutputTemp : streams.mErrorTemp;
    HANDLE& file = isOutput ? streams.mOutputTempHandle : streams.mErrorTempHandle;
    if (file != noHandle) {
        return file;
    }
    name = System::temporaryFileName(/*directory=*/std::string(), isOutput ? "out" : "err");
    if (name.empty()) {
        return noHandle;
    }
    file = openInheritable(streams, name,
                           {readWrite, /*share=*/0, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY})
               .detach();
    return file;
}

ScopedHandle openNamed(ChildStreams& streams, StreamMode mode, const std::string& path) {
    const DWORD disposition = mode == streamFile ? CREATE_ALWAYS : OPEN_ALWAYS;
    ScopedHandle file = openInheritable(streams, path, {readWrite, shareReadWrite, disposition, 0});
    if (file.isOpen() && mode == streamAppend) {
        SetFilePointerEx(file.get(), LARGE_INTEGER{}, /*lpNewFilePointer=*/nullptr, FILE_END);
    }
    return file;
}

/// Returns a stream of the caller, or one that becomes `streams`' own.
HANDLE openByMode(ChildStreams& streams, StreamMode mode, bool capture, const std::string& path) {
    switch (mode) {
        case streamOutput:
        case streamError:
            if (capture) {
                return openCapture(streams, mode);
            }
            return GetStdHandle(mode == streamOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
        case streamFile:
        case streamAppend:
            return openNamed(streams, mode, path).detach();
        default:
            SetLastError(ERROR_INVALID_PARAMETER);
            return noHandle;
    }
}

/// If both streams have the same handle, gives standard error its own, so that each can be closed
/// separately.
void separateError(STARTUPINFOW& startup, std::string& message) {
    if (startup.hStdOutput != startup.hStdError) {
        return;
    }
    const HANDLE self = GetCurrentProcess();
    HANDLE copy = noHandle;
    if (!DuplicateHandle(self, startup.hStdError, self, &copy, /*dwDesiredAccess=*/0,
                         /*bInheritHandle=*/TRUE, DUPLICATE_SAME_ACCESS)) {
        message = withLastError("Exec::runCommand couldn't duplicate handle for standard error: ");
        return;
    }
    startup.hStdError = copy;
    // Compatibility: closes the pseudo handle of GetCurrentProcess, which has no effect. Callers
    // may watch the call.
    CloseHandle(self);
}

void removeFile(std::string& name) noexcept {
    if (!name.empty()) {
        // A process that the command left behind may hold the file. It stays then.
        static_cast<void>(System::remove(name, /*force=*/false));
        name.clear();
    }
}

void appendSizeReport(std::string& text, const char* command, int32_t size, const char* streamName,
                      unsigned keepBytes) {
    text.append("\n***\n*** The command:\n***\n***     ")
        .append(command)
        .append("\n***\n*** produced ")
        .append(std::to_string(size))
        .append(" bytes of ")
        .append(streamName)
        .append(
            ".  This may indicate an error"
            "\n*** in the command invocation.  The first ")
        .append(std::to_string(keepBytes))
        .append(
            " bytes are included here"
            "\n*** for analysis.  If you believe this message has been "
            "reached in"
            "\n*** error, please contact your system administrator.\n***\n");
}

}  // namespace

ChildStreams::ChildStreams()
    : mStartup{}, mProcess{noHandle, noHandle, 0, 0}, mInherit{sizeof mInherit, nullptr, TRUE} {
    static wchar_t defaultDesktop[] = L"winsta0\\default";
    mStartup.cb = sizeof mStartup;
    mStartup.dwFlags = STARTF_USESTDHANDLES;
    mStartup.lpDesktop = defaultDesktop;
    mStartup.hStdInput = noHandle;
    mStartup.hStdOutput = noHandle;
    mStartup.hStdError = noHandle;
}

ChildStreams::~ChildStreams() {
    close();
    closeProcessHandle(mProcess.hProcess);
    closeProcessHandle(mProcess.hThread);
}

std::string ChildStreams::findDesktop() {
    const HWINSTA station = GetProcessWindowStation();
    if (station == nullptr) {
        return withLastError("GetProcessWindowStation() failed: ");
    }
    const HDESK desktop = GetThreadDesktop(GetCurrentThreadId());
    if (desktop == nullptr) {
        return withLastError("GetThreadDesktop() failed: ");
    }
    std::wstring name;
    if (!objectName(station, name)) {
        return withLastError("GetUserObjectInformation(windowStation) failed: ");
    }
    name += L'\\';
    if (!objectName(desktop, name)) {
        return withLastError("GetUserObjectInformation(desktop) failed: ");
    }
    mDesktop = name;
    mStartup.lpDesktop = mDesktop.data();
    return {};
}

void ChildStreams::close() noexcept {
    if (isOwnInput(mStartup.hStdInput)) {
        CloseHandle(mStartup.hStdInput);
    }
    if (isOwnOutput(mStartup.hStdOutput)) {
        CloseHandle(mStartup.hStdOutput);
    }
    if (isOwnOutput(mStartup.hStdError) && mStartup.hStdError != mStartup.hStdOutput) {
        CloseHandle(mStartup.hStdError);
    }
    mStartup.hStdInput = noHandle;
    mStartup.hStdOutput = noHandle;
    mStartup.hStdError = noHandle;
    mOutputTempHandle = noHandle;
    mErrorTempHandle = noHandle;
    removeFile(mOutputTemp);
    removeFile(mErrorTemp);
}

void ChildStreams::endInheritance() noexcept {
    if (isOwnInput(mStartup.hStdInput)) {
        SetHandleInformation(mStartup.hStdInput, HANDLE_FLAG_INHERIT, 0);
    }
    for (const HANDLE handle : {mStartup.hStdOutput, mStartup.hStdError}) {
        if (isOwnOutput(handle)) {
            SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0);
        }
    }
}

bool setUpStreams(ChildStreams& streams, const Exec::RunInfo& runInfo, std::string& message) {
    if (!openInput(streams, runInfo.mStdinFile, message)) {
        return false;
    }
    StreamMode outputMode = runInfo.mStdoutMode;
    StreamMode errorMode = runInfo.mStderrMode;
    if (runInfo.mMergeOutput) {
        outputMode = outputMode == streamError ? streamOutput : outputMode;
        errorMode = errorMode == streamError ? streamOutput : errorMode;
    }
    STARTUPINFOW& startup = streams.mStartup;
    startup.hStdOutput =
        openByMode(streams, outputMode, runInfo.mCaptureOutput, runInfo.mStdoutFile);
    if (startup.hStdOutput == noHandle) {
        message = withLastError("Exec::runCommand couldn't open file for standard output: ");
        return false;
    }
    const bool isOneFile = outputMode >= streamFile && errorMode >= streamFile &&
                           runInfo.mStdoutFile == runInfo.mStderrFile;
    startup.hStdError =
        isOneFile ? startup.hStdOutput
                  : openByMode(streams, errorMode, runInfo.mCaptureOutput, runInfo.mStderrFile);
    if (startup.hStdError == noHandle) {
        message = withLastError("Exec::runCommand couldn't open file for standard error: ");
        return false;
    }
    separateError(startup, message);
    return true;
}

bool readCapturedOutput(HANDLE file, int maxBytes, unsigned keepBytes, const char* command,
                        const char* streamName, std::string& text) {
    SetLastError(NO_ERROR);
    const auto size = static_cast<int32_t>(GetFileSize(file, /*lpFileSizeHigh=*/nullptr));
    const bool isOver = size > maxBytes;
    if (isOver) {
        appendSizeReport(text, command, size, streamName, keepBytes);
    }
    if (size < 0) {
        if (GetLastError() == NO_ERROR) {
            SetLastError(ERROR_FILE_TOO_LARGE);
        }
        return false;
    }
    const DWORD take = isOver ? keepBytes : static_cast<DWORD>(size);
    const size_t start = text.size();
    text.resize(start + take);
    SetFilePointer(file, 0, /*lpDistanceToMoveHigh=*/nullptr, FILE_BEGIN);
    DWORD count = 0;
    if (!ReadFile(file, text.data() + start, take, &count, /*lpOverlapped=*/nullptr)) {
        text.resize(start);
        return false;
    }
    text.resize(start + count);
    if (count != take) {
        SetLastError(ERROR_HANDLE_EOF);
        return false;
    }
    if (isOver) {
        text += '\n';
    }
    return true;
}
