#include "testing/systemmessage-win.h"

#include <utility>

namespace testing_support {
namespace {

SystemMessage* gCurrent = nullptr;

}  // namespace

SystemMessage::SystemMessage(std::wstring message, HMODULE module)
    : mMessage(std::move(message)),
      mPatch(module, "FormatMessageW", reinterpret_cast<void*>(formatMessage)) {
    gCurrent = this;
}

SystemMessage::~SystemMessage() { gCurrent = nullptr; }

DWORD WINAPI SystemMessage::formatMessage(DWORD flags, LPCVOID source, DWORD number, DWORD language,
                                          LPWSTR buffer, DWORD size, va_list* arguments) {
    const std::wstring& message = gCurrent->mMessage;
    void* allocated = nullptr;
    if ((flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) == 0) {
        message.copy(buffer, size);
    } else if (!message.empty()) {
        allocated = LocalAlloc(LPTR, message.size() * sizeof(wchar_t));
        message.copy(static_cast<wchar_t*>(allocated), message.size());
        *reinterpret_cast<void**>(buffer) = allocated;
    }
    gCurrent->mCalls.push_back({flags, source, number, language, size, arguments, allocated});
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return static_cast<DWORD>(message.size());
}

}  // namespace testing_support
