#include <array>
#include <string>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/host-win.h"

namespace {

using benchmark::comparePrepared;

constexpr int largeOutput = 64 << 20;

void prepareNothing() {}

/// The path of a program in the folder of this one; it needs no quotes.
std::string program(const char* name) { return System::programDirectory() + '\\' + name; }

SECURITY_ATTRIBUTES inheritable() { return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}; }

/// A child started in the most direct way, with the flags that Exec uses.
class BareChild {
public:
    BareChild(const std::string& line, HANDLE output, HANDLE error) {
        std::wstring wideLine = toWide(line);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = output;
        startup.hStdError = error;
        PROCESS_INFORMATION process{};
        constexpr DWORD creationFlags = CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP |
                                        CREATE_UNICODE_ENVIRONMENT | DETACHED_PROCESS;
        EXPECT_TRUE(CreateProcessW(nullptr, wideLine.data(), nullptr, nullptr,
                                   /*bInheritHandles=*/TRUE, creationFlags, nullptr, nullptr,
                                   &startup, &process));
        *mProcess.receive() = process.hProcess;
        ResumeThread(process.hThread);
        CloseHandle(process.hThread);
    }

    void wait() const { WaitForSingleObject(mProcess.get(), INFINITE); }

private:
    ScopedHandle mProcess;
};

class TemporaryFile {
public:
    explicit TemporaryFile(const char* prefix)
        : mName(toWide(System::temporaryFileName(std::string(), prefix))) {
        SECURITY_ATTRIBUTES attributes = inheritable();
        *mFile.receive() = CreateFileW(mName.c_str(), GENERIC_READ | GENERIC_WRITE, 0, &attributes,
                                       CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, nullptr);
        EXPECT_TRUE(mFile.isOpen());
    }
    ~TemporaryFile() {
        mFile.release();
        DeleteFileW(mName.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    HANDLE get() const { return mFile.get(); }

private:
    std::wstring mName;
    ScopedHandle mFile;
};

std::string runCaptured(const std::string& line) {
    Exec exec;
    exec.setOutputLimits(largeOutput, largeOutput);
    Exec::RunInfo info;
    info.mDirectArgv = {line};
    std::string output;
    std::string error;
    bool aborted = false;
    EXPECT_EQ(exec.runCommand(info, std::string(), nullptr, nullptr, &output, &error, &aborted), 0);
    return output;
}

std::string readThroughPipe(const std::string& line) {
    SECURITY_ATTRIBUTES attributes = inheritable();
    ScopedHandle readEnd;
    ScopedHandle writeEnd;
    EXPECT_TRUE(CreatePipe(readEnd.receive(), writeEnd.receive(), &attributes, /*nSize=*/0));
    SetHandleInformation(readEnd.get(), HANDLE_FLAG_INHERIT, 0);
    const BareChild child(line, writeEnd.get(), writeEnd.get());
    writeEnd.release();
    std::string output;
    static std::array<char, 65536> buffer;
    DWORD count = 0;
    while (ReadFile(readEnd.get(), buffer.data(), buffer.size(), &count, nullptr)) {
        output.append(buffer.data(), count);
    }
    child.wait();
    return output;
}

TEST(Benchmark, ExecRunCommand) {
    const std::string line = program("sampleprogram.exe exit 0");
    comparePrepared(
        {"runCommand, nothing", "CreateProcessW, two files, wait", 1.10, /*rounds=*/40},
        prepareNothing, [&] { runCaptured(line); },
        [&] {
            const TemporaryFile output("out");
            const TemporaryFile error("err");
            const BareChild child(line, output.get(), error.get());
            child.wait();
        });
}

TEST(Benchmark, ExecRunCommandWithMuchOutput) {
    const std::string line = program("execchild.exe out 67108864 65536");
    EXPECT_TRUE(runCaptured(line) == readThroughPipe(line));
    comparePrepared(
        {"runCommand, 64 MB of output", "anonymous pipe", 1.0, /*rounds=*/3}, prepareNothing,
        [&] { runCaptured(line); }, [&] { readThroughPipe(line); });
}

}  // namespace
