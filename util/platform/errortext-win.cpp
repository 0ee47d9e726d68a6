#include "util/platform/errortext-win.h"

#include <array>
#include <optional>
#include <ostream>
#include <string_view>

#include <windows.h>

#include "util/platform/localmemory-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/stringformat.h"
#include "util/threadkey-pthreads.h"

namespace {

// Its message table has the messages for NTSTATUS values. Never released: failures can be reported
// as long as the process runs.
const HMODULE ntdll = LoadLibraryA("NTDLL.DLL");

const DWORD gMessageLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

/// Restores the caller's GetLastError at the end of the scope.
class WindowsErrorScope {
public:
    WindowsErrorScope() : mError(GetLastError()) {}
    ~WindowsErrorScope() { SetLastError(mError); }
    WindowsErrorScope(const WindowsErrorScope&) = delete;
    WindowsErrorScope& operator=(const WindowsErrorScope&) = delete;

    uint32_t error() const { return mError; }

private:
    DWORD mError;
};

/// Restores both of the caller's error numbers at the end of the scope.
class ErrorStateScope {
public:
    ErrorStateScope() : mState(ErrorState::current()) {}
    ~ErrorStateScope() { mState.restore(); }
    ErrorStateScope(const ErrorStateScope&) = delete;
    ErrorStateScope& operator=(const ErrorStateScope&) = delete;

    const ErrorState& state() const { return mState; }

private:
    ErrorState mState;
};

/// Returns the system's message for `number` without the line ends at its end, or nothing if there
/// is none.
std::optional<std::string> findMessage(DWORD flags, HMODULE source, uint32_t number) {
    std::array<wchar_t, 500> buffer;
    // Compatibility: without FORMAT_MESSAGE_IGNORE_INSERTS, the call refuses a message with
    // placeholders, so its number is shown.
    const DWORD length = FormatMessageW(flags, source, number, gMessageLanguage, buffer.data(),
                                        static_cast<DWORD>(buffer.size()), /*Arguments=*/nullptr);
    if (length == 0) {
        return std::nullopt;
    }
    std::wstring message(buffer.data(), length);
    message.erase(message.find_last_not_of(L"\r\n") + 1);
    return toUtf8(message);
}

/// Returns the system's message for `number` without its line end and full stop, or the number
/// itself.
std::string messageAsPhrase(uint32_t number) {
    wchar_t* allocated = nullptr;
    // Compatibility: without FORMAT_MESSAGE_IGNORE_INSERTS, as in findMessage: Windows refuses a
    // message with placeholders, and the number is shown.
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM,
                                        /*lpSource=*/nullptr, number, gMessageLanguage,
                                        reinterpret_cast<wchar_t*>(&allocated), /*nSize=*/0,
                                        /*Arguments=*/nullptr);
    const LocalMemory<wchar_t> owner(allocated);
    if (length == 0) {
        return number > 0x7fffffff ? format(32, "Error 0x%x", number)
                                   : format(32, "Error %u", number);
    }
    std::wstring_view message(allocated, length);
    for (const wchar_t tail : {L'\n', L'\r', L'.'}) {
        if (message.ends_with(tail)) {
            message.remove_suffix(1);
        }
    }
    return toUtf8(std::wstring(message));
}

/// Returns the calling thread's own string for lastErrorText, freed when the thread ends.
std::string& threadText() {
    // The key is never deleted: static objects can still report failures while they are destroyed.
    static ThreadKey& key =
        *new ThreadKey([](void* text) { delete static_cast<std::string*>(text); });
    auto* text = static_cast<std::string*>(key.get());
    if (text == nullptr) {
        text = new std::string;
        key.set(text);
    }
    return *text;
}

}  // namespace

Win32Exception::Win32Exception(const char* context) : Win32Exception(context, GetLastError()) {}

Win32Exception::Win32Exception(const char* context, uint32_t error)
    : std::runtime_error(win32ErrorText(context, static_cast<int>(error))), mError(error) {}

Win32Exception::~Win32Exception() = default;

NtException::NtException(const char* context, uint32_t status)
    : std::runtime_error(ntErrorText(context, status)), mStatus(status) {}

NtException::~NtException() = default;

std::string win32ErrorText(const char* context, int error) {
    const WindowsErrorScope scope;
    const auto number = static_cast<uint32_t>(error);
    const std::optional<std::string> message =
        findMessage(FORMAT_MESSAGE_FROM_SYSTEM, /*source=*/nullptr, number);
    return std::string(context) + ": " +
           (message ? *message : format(64, "Windows error %d", error)) +
           (error >= 0 ? format(32, " (%d)", error) : format(32, " (0x%x)", number));
}

std::string ntErrorText(const char* context, uint32_t status) {
    const WindowsErrorScope scope;
    const std::optional<std::string> message =
        findMessage(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_FROM_HMODULE, ntdll, status);
    return std::string(context) + ": " +
           (message ? *message : format(64, "NT error 0x%08x", status)) +
           format(32, " (0x%x)", status);
}

std::string errorText(bool withCode, const uint32_t* error, WhichError which) {
    const ErrorStateScope scope;
    const uint32_t value = error != nullptr ? *error : scope.state().select(errorOfEither);
    const uint32_t number = ErrorState{value, scope.state().mSocketError}.select(which);
    std::string text = messageAsPhrase(number);
    if (withCode) {
        text += format(64, " (error code %u)", number);
    }
    return text;
}

const char* lastErrorText(bool withCode, const uint32_t* error, WhichError which) {
    const WindowsErrorScope scope;
    const uint32_t number = error != nullptr ? *error : scope.error();
    // The text comes first: creating the thread's string may change the error number that it
    // reports.
    const std::string text = errorText(withCode, &number, which);
    std::string& kept = threadText();
    kept.assign(text);
    return kept.c_str();
}

std::string withLastError(const char* text) {
    std::string words = lastErrorText(/*withCode=*/false, /*error=*/nullptr, errorOfSystem);
    return words.insert(0, text);
}

std::ostream& operator<<(std::ostream& out, ErrorNumber number) {
    // Writing to the stream may call Windows, too.
    const ErrorStateScope scope;
    return out << errorText(/*withCode=*/false, &number.mNumber, errorOfSystem);
}

std::ostream& operator<<(std::ostream& out, const ErrorState& state) {
    return out << ErrorNumber{state.select(errorOfEither)};
}
