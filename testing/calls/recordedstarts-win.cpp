#include "testing/calls/recordedstarts-win.h"

#include <cwchar>
#include <utility>

namespace testing_support {
namespace {

RecordedStarts* gStarts = nullptr;

std::optional<std::wstring> textAt(const wchar_t* text) {
    return text != nullptr ? std::optional<std::wstring>(text) : std::nullopt;
}

std::optional<std::wstring> blockAt(const void* block) {
    if (block == nullptr) {
        return std::nullopt;
    }
    const auto* start = static_cast<const wchar_t*>(block);
    const wchar_t* end = start;
    while (*end != L'\0') {
        end += std::wcslen(end) + 1;
    }
    return std::wstring(start, end);
}

std::wstring currentDirectory() {
    std::wstring directory(MAX_PATH, L'\0');
    directory.resize(GetCurrentDirectoryW(static_cast<DWORD>(directory.size()), directory.data()));
    return directory;
}

std::wstring path() {
    std::wstring value(GetEnvironmentVariableW(L"Path", nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(L"Path", value.data(), static_cast<DWORD>(value.size())));
    return value;
}

}  // namespace

RecordedStarts::RecordedStarts(std::deque<DWORD> errors, std::function<void()> onCall)
    : mErrors(std::move(errors)),
      mOnCall(std::move(onCall)),
      mReplaced("CreateProcessW", &RecordedStarts::createProcess),
      mReplacedAsUser("CreateProcessAsUserW", &RecordedStarts::createProcessAsUser) {
    gStarts = this;
}

RecordedStarts::~RecordedStarts() { gStarts = nullptr; }

BOOL WINAPI RecordedStarts::createProcess(LPCWSTR program, LPWSTR line,
                                          LPSECURITY_ATTRIBUTES processAttributes,
                                          LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherits,
                                          DWORD flags, LPVOID environment, LPCWSTR directory,
                                          LPSTARTUPINFOW startup, LPPROCESS_INFORMATION process) {
    return start(nullptr, program, line, processAttributes, threadAttributes, inherits, flags,
                 environment, directory, startup, process);
}

BOOL WINAPI RecordedStarts::createProcessAsUser(HANDLE token, LPCWSTR program, LPWSTR line,
                                                LPSECURITY_ATTRIBUTES processAttributes,
                                                LPSECURITY_ATTRIBUTES threadAttributes,
                                                BOOL inherits, DWORD flags, LPVOID environment,
                                                LPCWSTR directory, LPSTARTUPINFOW startup,
                                                LPPROCESS_INFORMATION process) {
    return start(token, program, line, processAttributes, threadAttributes, inherits, flags,
                 environment, directory, startup, process);
}

BOOL RecordedStarts::start(HANDLE token, LPCWSTR program, LPWSTR line,
                           LPSECURITY_ATTRIBUTES processAttributes,
                           LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherits, DWORD flags,
                           LPVOID environment, LPCWSTR directory, LPSTARTUPINFOW startup,
                           LPPROCESS_INFORMATION process) {
    if (gStarts->mOnCall) {
        gStarts->mOnCall();
    }
    Call call{};
    call.token = token;
    call.program = textAt(program);
    call.line = line;
    call.hasAttributes = processAttributes != nullptr || threadAttributes != nullptr;
    call.inherits = inherits;
    call.flags = flags;
    call.environment = blockAt(environment);
    call.directory = textAt(directory);
    call.startup = *startup;
    call.desktop = startup->lpDesktop != nullptr ? startup->lpDesktop : L"(none)";
    call.currentDirectory = currentDirectory();
    call.path = path();
    DWORD error = NO_ERROR;
    if (!gStarts->mErrors.empty()) {
        error = gStarts->mErrors.front();
        gStarts->mErrors.pop_front();
    }
    if (error == NO_ERROR) {
        const auto withArguments = [&](auto create) {
            return create(program, line, processAttributes, threadAttributes, inherits, flags,
                          environment, directory, startup, process);
        };
        const BOOL isStarted =
            token == nullptr ? withArguments(gStarts->mReplaced.original())
                             : withArguments([token](auto... arguments) {
                                   return gStarts->mReplacedAsUser.original()(token, arguments...);
                               });
        error = isStarted != FALSE ? NO_ERROR : GetLastError();
    }
    if (error == NO_ERROR) {
        call.process = *process;
    }
    gStarts->mCalls.push_back(std::move(call));
    SetLastError(error);
    return error == NO_ERROR ? TRUE : FALSE;
}

}  // namespace testing_support
