// What runCommand returns about a child that has ended: its exit code and its output.

#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/stringformat.h"
#include "util/windows/exec/run-win.h"

Exec::Run::Result Exec::Run::fetchExitCode() {
    DWORD code = 0;
    if (!GetExitCodeProcess(mStreams.mProcess.hProcess, &code)) {
        mExec.reportWithLastError("Exec::runCommand couldn't get process's exit code",
                                  mFailureText);
        return failureCode;
    }
    mExitCode = code;
    if (static_cast<int32_t>(code) < 0) {
        const NtException meaning("NTSTATUS", mExitCode);
        mExec.addToLog(format(/*capacity=*/32, "\texit code 0x%x [", mExitCode)
                           .append(meaning.what())
                           .append("]\n"));
    } else if (code != 0) {
        mExec.addToLog("\texit code " + std::to_string(code) + "\n");
    }
    return {};
}

Exec::Run::Result Exec::Run::collectOutput(std::string* outputText, std::string* errorText) {
    if (mRunInfo.mCaptureOutput) {
        if (const Result result =
                readCapture(mStreams.mOutputTempHandle, "output text", outputText,
                            "Exec::runCommand couldn't read standard output file")) {
            return result;
        }
        return readCapture(mStreams.mErrorTempHandle, "error text", errorText,
                           "Exec::runCommand couldn't read standard error file");
    }
    FlushFileBuffers(mStreams.mStartup.hStdOutput);
    if (!mRunInfo.mMergeOutput) {
        FlushFileBuffers(mStreams.mStartup.hStdError);
    }
    return {};
}

/// Reads a stream, if it was captured.
Exec::Run::Result Exec::Run::readCapture(HANDLE file, const char* streamName, std::string* text,
                                         const char* failure) {
    if (file != INVALID_HANDLE_VALUE &&
        !readCapturedOutput(file, mExec.mMaxOutputBytes, mExec.mKeepOutputBytes, mCommand.c_str(),
                            streamName, *text)) {
        mExec.reportWithLastError(failure, mFailureText);
        return failureCode;
    }
    return {};
}

/// Extracts the signal or the exit code, which each version of the runtime encodes in its own way.
void Exec::Run::adjustForCygwin() {
    constexpr uint16_t release15 = 1005;
    constexpr uint16_t shiftingPatch = 13;   // of 1.5: shifts an exit code to the upper byte
    constexpr uint16_t reportingPatch = 20;  // of 1.5, and later: reports the signal there
    constexpr uint32_t upperByte = 8;
    constexpr uint32_t shiftedBits = 0xff80;
    constexpr uint32_t exitBits = 0xff;
    constexpr uint32_t signalBits = 0x7f;
    const uint16_t release = mExec.mCygwinMajor;
    const uint16_t patch = mExec.mCygwinMinor;
    if (release == release15 && patch == shiftingPatch) {
        if ((mExitCode & ~shiftedBits) == 0) {
            mExitCode = (mExitCode >> upperByte) & exitBits;
        }
    } else if (release == 0 || release > release15 ||
               (release == release15 && patch >= reportingPatch)) {
        const uint32_t signal = (mExitCode >> upperByte) & signalBits;
        mExec.mChildSignal = signal != 0 ? signal : noSignal;
    }
}

/// An odd last byte is dropped.
void Exec::Run::convertFromUtf16(std::string& text) {
    std::wstring units(text.size() / sizeof(wchar_t), L'\0');
    text.copy(reinterpret_cast<char*>(units.data()), units.size() * sizeof(wchar_t));
    text = toUtf8(units);
}
