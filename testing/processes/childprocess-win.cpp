#include "testing/processes/childprocess-win.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include <windows.h>

#include "testing/ownedhandle-win.h"
#include "testing/processes/quotedargument.h"

namespace testing_support {
namespace {

[[noreturn]] void throwLastError(const char* call) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), call);
}

std::wstring wide(const std::string& text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end())).wstring();
}

std::wstring commandLine(const ChildRun& run) {
    std::wstring line = L'"' + run.program.wstring() + L'"';
    for (const std::string& argument : run.arguments) {
        line += L' ';
        appendQuoted(line, wide(argument));
    }
    return line;
}

/// Orders names of variables, ignoring case.
struct NameLess {
    bool operator()(const std::wstring& a, const std::wstring& b) const {
        return CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, /*bIgnoreCase=*/TRUE) ==
               CSTR_LESS_THAN;
    }
};
using Environment = std::map<std::wstring, std::wstring, NameLess>;

Environment ownEnvironment() {
    struct Freer {
        void operator()(wchar_t* block) const { FreeEnvironmentStringsW(block); }
    };
    const std::unique_ptr<wchar_t, Freer> block(GetEnvironmentStringsW());
    if (block == nullptr) {
        throwLastError("GetEnvironmentStringsW");
    }
    Environment environment;
    for (const wchar_t* entry = block.get(); *entry != L'\0';) {
        const std::wstring_view text(entry);
        // The current directories of drives are variables whose names begin with '='.
        const size_t sign = text.find(L'=', 1);
        environment.emplace(text.substr(0, sign), text.substr(sign + 1));
        entry += text.size() + 1;
    }
    return environment;
}

std::wstring environmentBlock(const ChildRun& run) {
    Environment environment = ownEnvironment();
    for (const auto& [name, value] : run.environment) {
        if (value) {
            environment[wide(name)] = wide(*value);
        } else {
            environment.erase(wide(name));
        }
    }
    std::wstring block;
    for (const auto& [name, value] : environment) {
        block.append(name).append(1, L'=').append(value).append(1, L'\0');
    }
    return block + L'\0';
}

SECURITY_ATTRIBUTES inheritable() {
    return {sizeof(SECURITY_ATTRIBUTES), /*lpSecurityDescriptor=*/nullptr,
            /*bInheritHandle=*/TRUE};
}

/// One of the child's output streams. A thread of its own reads it, so that a child that fills one
/// pipe isn't blocked by the other.
class CapturedStream {
public:
    CapturedStream() {
        SECURITY_ATTRIBUTES attributes = inheritable();
        HANDLE readEnd = nullptr;
        HANDLE writeEnd = nullptr;
        if (!CreatePipe(&readEnd, &writeEnd, &attributes, /*nSize=*/0)) {
            throwLastError("CreatePipe");
        }
        mReadEnd.reset(readEnd);
        mWriteEnd.reset(writeEnd);
        if (!SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0)) {
            throwLastError("SetHandleInformation");
        }
    }

    HANDLE writeEnd() const { return mWriteEnd.get(); }

    /// Must be called once the child has its own handle of the pipe.
    void startReading() {
        mWriteEnd.reset();
        mReader = std::jthread([this] {
            std::array<char, 4096> buffer{};
            DWORD count = 0;
            while (ReadFile(mReadEnd.get(), buffer.data(), buffer.size(), &count,
                            /*lpOverlapped=*/nullptr)) {
                mText.append(buffer.data(), count);
            }
        });
    }

    std::string text() {
        mReader.join();
        return std::move(mText);
    }

private:
    OwnedHandle mReadEnd;
    OwnedHandle mWriteEnd;
    std::string mText;
    std::jthread mReader;
};

OwnedHandle openInput(const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES attributes = inheritable();
    // The flag lets a folder be opened.
    OwnedHandle input(CreateFileW(file.empty() ? L"NUL" : file.c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS,
                                  /*hTemplateFile=*/nullptr));
    if (input.get() == INVALID_HANDLE_VALUE) {
        static_cast<void>(input.release());  // no handle that could be closed
        throwLastError("CreateFileW");
    }
    return input;
}

OwnedHandle startProcess(const ChildRun& run, HANDLE input, HANDLE output, HANDLE error) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input;
    startup.hStdOutput = output;
    startup.hStdError = error;
    std::vector<unsigned char> record = run.startupRecord;
    startup.lpReserved2 = record.empty() ? nullptr : record.data();
    startup.cbReserved2 = static_cast<WORD>(record.size());
    PROCESS_INFORMATION process{};
    std::wstring line = commandLine(run);
    std::wstring environment = environmentBlock(run);
    if (!CreateProcessW(run.program.c_str(), line.data(), /*lpProcessAttributes=*/nullptr,
                        /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/TRUE,
                        CREATE_UNICODE_ENVIRONMENT, environment.data(),
                        run.folder.empty() ? nullptr : run.folder.c_str(), &startup, &process)) {
        throwLastError("CreateProcessW");
    }
    CloseHandle(process.hThread);
    return OwnedHandle(process.hProcess);
}

}  // namespace

ChildResult runChild(const ChildRun& run) {
    const OwnedHandle input = openInput(run.input);
    const OwnedHandle refusing = openInput(/*file=*/{});  // for reading alone
    CapturedStream output;
    CapturedStream error;
    const OwnedHandle process = startProcess(
        run, input.get(), run.refusesOutput ? refusing.get() : output.writeEnd(), error.writeEnd());
    output.startReading();
    error.startReading();
    WaitForSingleObject(process.get(), INFINITE);
    ChildResult result;
    if (!GetExitCodeProcess(process.get(), &result.exitCode)) {
        throwLastError("GetExitCodeProcess");
    }
    result.output = output.text();
    result.error = error.text();
    return result;
}

std::filesystem::path testProgramFolder() {
    std::wstring name(32768, L'\0');
    const DWORD length =
        GetModuleFileNameW(/*hModule=*/nullptr, name.data(), static_cast<DWORD>(name.size()));
    if (length == 0) {
        throwLastError("GetModuleFileNameW");
    }
    name.resize(length);
    return std::filesystem::path(name).parent_path();
}

}  // namespace testing_support
