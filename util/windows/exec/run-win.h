#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include "util/windows/exec-win.h"
#include "util/windows/exec/environment-win.h"
#include "util/windows/exec/programsearch-win.h"
#include "util/windows/exec/streams-win.h"

/// One call of runCommand. The destructor releases what it holds, on every path.
class Exec::Run {
public:
    Run(Exec& exec, RunInfo& runInfo, const std::string& workingDirectory, const char* environment,
        void* passThrough)
        : mExec(exec),
          mRunInfo(runInfo),
          mWorkingDirectory(workingDirectory),
          mEnvironment(environment),
          mPassThrough(passThrough) {}
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    [[nodiscard]] int32_t execute(std::string* outputText, std::string* errorText, bool* aborted);

private:
    using Result = std::optional<int32_t>;  ///< of a step: a value ends the run and is its result

    void begin(std::string* outputText, std::string* errorText, bool* aborted);
    [[nodiscard]] Result prepareJob();
    void chooseFlags();
    [[nodiscard]] Result start();
    [[nodiscard]] Result startCommand();
    [[nodiscard]] Result startAlternate();
    void followCygwinLink(ProgramAndLine& command);
    [[nodiscard]] DWORD createProcess(const std::wstring& program, const std::wstring& line);
    [[nodiscard]] Result commandNotFound();
    [[nodiscard]] int32_t startFailed(const ProgramAndLine& command, uint32_t error);
    [[nodiscard]] Result superviseChild(bool* aborted);
    [[nodiscard]] Result fetchExitCode();
    [[nodiscard]] Result collectOutput(std::string* outputText, std::string* errorText);
    [[nodiscard]] Result readCapture(HANDLE file, const char* streamName, std::string* text,
                                     const char* failure);
    void adjustForCygwin();
    static void convertFromUtf16(std::string& text);

    Exec& mExec;
    RunInfo& mRunInfo;
    const std::string& mWorkingDirectory;
    const char* mEnvironment;
    void* mPassThrough;

    std::string* mFailureText = nullptr;
    std::string mCommand;
    DWORD mFlags = 0;
    std::wstring mWideDirectory;
    std::vector<wchar_t> mBlock;
    boost::shared_ptr<AccessToken> mRunAsToken;  ///< null: the command has this process's rights
    /// If no child is started, it outlives the streams, so that no child of another thread inherits
    /// them.
    std::unique_ptr<ChildEnvironmentScope> mScope;
    ChildStreams mStreams;
    bool mIsSuspended = false;
    bool mHasPid = false;  ///< the object's `mPid` is this run's child
    bool mIsStalled = false;
    uint32_t mExitCode = 0;
};
