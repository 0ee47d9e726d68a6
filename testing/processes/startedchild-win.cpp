#include "testing/processes/startedchild-win.h"

#include <filesystem>
#include <system_error>

#include "testing/processes/childprocess-win.h"
#include "testing/processes/quotedargument.h"

namespace testing_support {
namespace {

void require(bool isDone, const char* call) {
    if (!isDone) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), call);
    }
}

std::wstring commandLine(const std::vector<std::string>& actions) {
    std::wstring line = L"execchild";
    for (const std::string& word : actions) {
        line += L' ';
        appendQuoted(line,
                     std::filesystem::path(std::u8string(word.begin(), word.end())).wstring());
    }
    return line;
}

}  // namespace

StartedChild::StartedChild(const Start& start) {
    SECURITY_ATTRIBUTES inheritable = {sizeof(SECURITY_ATTRIBUTES),
                                       /*lpSecurityDescriptor=*/nullptr, /*bInheritHandle=*/TRUE};
    const OwnedHandle nothing(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                          OPEN_EXISTING, /*dwFlagsAndAttributes=*/0,
                                          /*hTemplateFile=*/nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = start.input != nullptr ? start.input : nothing.get();
    startup.hStdOutput = start.output != nullptr ? start.output : nothing.get();
    startup.hStdError = start.error != nullptr ? start.error : nothing.get();
    std::wstring line = commandLine(start.actions);
    PROCESS_INFORMATION process{};
    require(CreateProcessW((testProgramFolder() / "execchild.exe").c_str(), line.data(),
                           /*lpProcessAttributes=*/nullptr, /*lpThreadAttributes=*/nullptr,
                           /*bInheritHandles=*/TRUE, CREATE_SUSPENDED, /*lpEnvironment=*/nullptr,
                           /*lpCurrentDirectory=*/nullptr, &startup, &process) != 0,
            "CreateProcessW");
    mProcess.reset(process.hProcess);
    mThread.reset(process.hThread);
    mPid = process.dwProcessId;
    if (start.job != nullptr && !AssignProcessToJobObject(start.job, process.hProcess)) {
        const std::error_code error(static_cast<int>(GetLastError()), std::system_category());
        TerminateProcess(process.hProcess, 1);
        throw std::system_error(error, "AssignProcessToJobObject");
    }
    if (!start.isSuspended) {
        resume();
    }
}

StartedChild::~StartedChild() {
    TerminateProcess(mProcess.get(), 1);
    WaitForSingleObject(mProcess.get(), INFINITE);
}

void StartedChild::resume() { ResumeThread(mThread.get()); }

DWORD StartedChild::wait() const {
    WaitForSingleObject(mProcess.get(), INFINITE);
    DWORD code = 0;
    require(GetExitCodeProcess(mProcess.get(), &code) != 0, "GetExitCodeProcess");
    return code;
}

}  // namespace testing_support
