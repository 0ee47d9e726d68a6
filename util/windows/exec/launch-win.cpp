// Exec::runCommand, step by step.

#include <cstddef>
#include <cstdint>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "util/assertion.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/processlocale.h"
#include "util/threadannotations.h"
#include "util/valueconversion.h"
#include "util/windows/exec/priority-win.h"
#include "util/windows/exec/programsearch-win.h"
#include "util/windows/exec/run-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

boost::shared_ptr<AccessToken> gRunAsToken NB_GUARDED_BY(gProcessEnvironmentLock);

bool hasConsole() {
    const ScopedHandle console(CreateFileA("CONIN$", GENERIC_READ, FILE_SHARE_WRITE,
                                           /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                           FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
    return console.isOpen();
}

bool meansMissingProgram(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
           error == ERROR_BAD_EXE_FORMAT;
}

const wchar_t* orNull(const std::wstring& text) { return text.empty() ? nullptr : text.c_str(); }

}  // namespace

void Exec::setRunAsToken(const boost::shared_ptr<AccessToken>& token) {
    const MutexLock lock(gProcessEnvironmentLock);
    gRunAsToken = token;
}

boost::shared_ptr<AccessToken> Exec::runAsToken() {
    const MutexLock lock(gProcessEnvironmentLock);
    return gRunAsToken;
}

int32_t Exec::runCommand(RunInfo& runInfo, const std::string& workingDirectory,
                         const char* environment, void* passThrough, std::string* outputText,
                         std::string* errorText, bool* aborted) {
    return Run(*this, runInfo, workingDirectory, environment, passThrough)
        .execute(outputText, errorText, aborted);
}

int32_t Exec::Run::execute(std::string* outputText, std::string* errorText, bool* aborted) {
    begin(outputText, errorText, aborted);
    mExec.selectStallRule(mCommand);
    if (const Result result = prepareJob()) {
        return *result;
    }
    chooseFlags();
    if (const Result result = start()) {
        return *result;
    }
    if (const Result result = superviseChild(aborted)) {
        return *result;
    }
    if (const Result result = fetchExitCode()) {
        return *result;
    }
    if (const Result result = collectOutput(outputText, errorText)) {
        return *result;
    }
    if (mRunInfo.mCygwinCommand) {
        adjustForCygwin();
    }
    if (mIsStalled && mFailureText != nullptr) {
        mFailureText->append("\nCommand \"")
            .append(mCommand)
            .append("\" was not making progress so it was automatically aborted.\n");
        return failureCode;
    }
    if (mRunInfo.mUtf16Output) {
        convertFromUtf16(*outputText);
        convertFromUtf16(*errorText);
    }
    return static_cast<int32_t>(mExitCode);
}

Exec::Run::~Run() {
    const HANDLE process = mStreams.mProcess.hProcess;
    if (mIsSuspended) {
        // An exception is being thrown: nothing else would ever resume or end the child.
        TerminateProcess(process, failureCode);
        WaitForSingleObject(process, INFINITE);
    }
    if (mHasPid) {
        mExec.mPid = noPid;
    }
}

void Exec::Run::begin(std::string* outputText, std::string* errorText, bool* aborted) {
    const std::string desktopFailure = mStreams.findDesktop();
    if (!desktopFailure.empty()) {
        mExec.reportError(desktopFailure.c_str());
    }
    if (mRunInfo.mCaptureOutput) {
        mFailureText = mRunInfo.mMergeOutput ? outputText : errorText;
    }
    outputText->clear();
    errorText->clear();
    *aborted = false;
    mExec.emptyLog();
    if (!hasConsole()) {
        mFlags |= DETACHED_PROCESS;
    }
    // Compatibility: no line end follows: the next entry of the log continues this line.
    mExec.addToLog("\twd: " + mWorkingDirectory);
    mWideDirectory = toWide(mWorkingDirectory);
    NB_ASSERT_AS(mRunInfo.mDirectArgv.size() == 1, "runInfo.mDirectArgv.size() == 1");
    mCommand = mRunInfo.mDirectArgv.front();
}

/// Makes the job if there is none yet. If its limits can't be set, the job is closed.
Exec::Run::Result Exec::Run::prepareJob() {
    ScopedHandle& job = mExec.mJob;
    if (mExec.mJobPattern.empty() || job.isOpen()) {
        return {};
    }
    *job.receive() = CreateJobObjectA(/*lpJobAttributes=*/nullptr, /*lpName=*/nullptr);
    if (!job.isOpen()) {
        mExec.reportWithLastError("Exec::runCommand couldn't create Job object", mFailureText);
        return failureCode;
    }
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_BREAKAWAY_OK;
    if (gRaisePriority != 0) {
        limits.BasicLimitInformation.LimitFlags |= JOB_OBJECT_LIMIT_PRIORITY_CLASS;
        limits.BasicLimitInformation.PriorityClass = HIGH_PRIORITY_CLASS;
    }
    if (!SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                 sizeof limits)) {
        mExec.reportWithLastError("Exec::runCommand couldn't set Job object limits", mFailureText);
        job.release();
        return failureCode;
    }
    return {};
}

void Exec::Run::chooseFlags() {
    // Suspended, so that the child can't start others before it is in the job.
    mFlags |= CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP | CREATE_UNICODE_ENVIRONMENT;
    if (!mExec.mJobPattern.empty()) {
        // The child leaves a job that holds this process, so that it can be put into its own.
        mFlags |= CREATE_BREAKAWAY_FROM_JOB;
    }
}

/// Starts the child and lets it run. During the start, the directory and `Path` of the process are
/// the child's.
Exec::Run::Result Exec::Run::start() {
    mScope = std::make_unique<ChildEnvironmentScope>(mEnvironment, mWorkingDirectory);
    mRunAsToken = runAsToken();
    if (mEnvironment != nullptr && *mEnvironment != '\0') {
        buildEnvironmentBlock(mBlock, mEnvironment);
    }
    if (const Result result = startCommand()) {
        return result;
    }
    mRunAsToken.reset();
    // This must happen before another thread can start a child, which would hold the files open.
    mStreams.endInheritance();
    mScope.reset();
    if (!mExec.mJobPattern.empty() &&
        !AssignProcessToJobObject(mExec.mJob.get(), mStreams.mProcess.hProcess)) {
        mExec.reportError("Exec::runCommand couldn't assign process to job");
    }
    ResumeThread(mStreams.mProcess.hThread);
    mIsSuspended = false;
    return {};
}

Exec::Run::Result Exec::Run::startCommand() {
    std::string message;
    if (!setUpStreams(mStreams, mRunInfo, message)) {
        if (!mRunInfo.mAlternateArgv.empty()) {
            return startAlternate();
        }
        mExec.report(message, mFailureText);
        return notFoundCode;
    }
    ProgramAndLine command = chooseProgram(
        mRunInfo.mProgram, toWide(mCommand), mScope->childPath(), mWorkingDirectory.c_str(),
        [this](ProgramAndLine& located) { followCygwinLink(located); });
    DWORD error = createProcess(command.program, command.line);
    if (meansMissingProgram(error) && mRunInfo.mCygwinCommand) {
        std::wstring line = mExec.scriptCommandLine(mCommand.c_str(), mScope->childPath());
        if (!line.empty()) {
            command.program.clear();
            command.line = std::move(line);
            mExec.addToLog("\tAssuming '" + mCommand + "' is a script; invoking it with '" +
                           narrowText(command.line, '?', processLocale()) + "'.\n");
            error = createProcess(command.program, command.line);
        }
    }
    if (error == NO_ERROR) {
        return {};
    }
    if (meansMissingProgram(error)) {
        return commandNotFound();
    }
    return startFailed(command, error);
}

/// Returns the error, or NO_ERROR.
DWORD Exec::Run::createProcess(const std::wstring& program, const std::wstring& line) {
    std::wstring writableLine = line;
    const auto withArguments = [&](auto create) {
        return create(orNull(program), writableLine.data(), /*lpProcessAttributes=*/nullptr,
                      /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/TRUE, mFlags,
                      mBlock.empty() ? nullptr : mBlock.data(), orNull(mWideDirectory),
                      &mStreams.mStartup, &mStreams.mProcess);
    };
    mIsSuspended = mRunAsToken == nullptr
                       ? withArguments(CreateProcessW)
                       : withArguments([this](auto... arguments) {
                             return CreateProcessAsUserW(mRunAsToken->token(), arguments...);
                         });
    return mIsSuspended ? NO_ERROR : GetLastError();
}

Exec::Run::Result Exec::Run::commandNotFound() {
    if (!mRunInfo.mAlternateArgv.empty()) {
        return startAlternate();
    }
    std::string message = "'";
    message.append(mCommand).append("': Command not found\n");
    if (mFailureText != nullptr) {
        mFailureText->append(message);
    } else {
        mExec.reportError(message.c_str());
    }
    return notFoundCode;
}

/// Starts the alternate unchanged, with this process's rights. If it can't be started, nothing is
/// reported.
Exec::Run::Result Exec::Run::startAlternate() {
    mRunInfo.clearRedirections();
    mStreams.close();
    std::string message;
    if (!setUpStreams(mStreams, mRunInfo, message)) {
        mExec.report(message, mFailureText);
        return failureCode;
    }
    const std::string& alternate = mRunInfo.mAlternateArgv.front();
    mExec.addToLog("\tinvoking alternate command\n");
    mRunAsToken.reset();
    if (createProcess(/*program=*/std::wstring(), toWide(alternate)) != NO_ERROR) {
        return notFoundCode;
    }
    // Compatibility: if only this rule asks for a job, it comes too late: no job is made, and the
    // assignment fails.
    mExec.selectStallRule(alternate);
    return {};
}

int32_t Exec::Run::startFailed(const ProgramAndLine& command, uint32_t error) {
    constexpr size_t environmentLimit = 30720;
    const EnvironmentSize size = environmentSize(mEnvironment);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "Exec::runCommand couldn't create process "
         << "(cmd='" << mCommand << "'; flags=0x" << std::hex << mFlags << std::dec << ";\n"
         << "env=" << size.strings << " vars; "
         << "aborted=" << mExec.mAborted.load() << "; "
         << "Command line length=" << command.line.size() << "; "
         << "Environment block length="
         << size.bytes
         // Compatibility: callers may search for "'; working directory '", although no quote is
         // open before it.
         << "'; working directory '" << mWorkingDirectory << "': " << ErrorNumber{error} << ".\n";
    if (size.bytes > environmentLimit) {
        text << "Explanation: Total length of environment "
                "variables exceeded Windows limit.\n"
                "Resolution: Please eliminate unnecessary "
                "environment variables or shorten them.\n"
                "For more details, please see Nimbrel "
                "Forge User Guide.";
    }
    mExec.report(text.str(), mFailureText);
    return failureCode;
}

Exec::Run::Result Exec::Run::superviseChild(bool* aborted) {
    const uint32_t pid = mStreams.mProcess.dwProcessId;
    bool wasAborted = false;
    {
        const MutexLock lock(mExec.mHandleLock);
        mExec.mPid = pid;
        mHasPid = true;
        wasAborted = mExec.mAborted;
        mExec.mStallCountdown = mExec.ruleTimeout();
    }
    if (wasAborted) {
        // The abort came before there was a child to reach.
        MutexLock lock(mExec.mHandleLock);
        mExec.abort(lock, killSignal);
    }
    mExec.addToLog("\twaiting for child pid " + std::to_string(pid) + "\n");
    if (!mExec.waitProcessExit(mStreams.mProcess.hProcess, pid, mCommand.c_str(), mFailureText,
                               &mIsStalled, mWorkingDirectory, mEnvironment, mPassThrough)) {
        return failureCode;
    }
    mExec.mPid = noPid;
    mHasPid = false;
    if (!mExec.mJobPattern.empty()) {
        mExec.waitChildren(mCommand.c_str(), mFailureText);
    }
    const MutexLock lock(mExec.mHandleLock);
    if (mExec.mAborted && !mIsStalled) {
        *aborted = true;
        return failureCode;
    }
    return {};
}
