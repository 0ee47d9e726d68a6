#include "testing/calls/systemmessage-win.h"

#include <cstddef>
#include <utility>

namespace testing_support {
namespace {

SystemMessage* gCurrent = nullptr;

/// Returns whether the message has a gap ("%1") for which the caller passes nothing.
bool lacksArguments(const std::wstring& message, DWORD flags, const va_list* arguments) {
    if ((flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0 || arguments != nullptr) {
        return false;
    }
    // The character after a percent sign belongs to it: "%%1" is a percent sign and a digit.
    for (size_t sign = message.find(L'%'); sign != std::wstring::npos && sign + 1 < message.size();
         sign = message.find(L'%', sign + 2)) {
        if (message[sign + 1] >= L'1' && message[sign + 1] <= L'9') {
            return true;
        }
    }
    return false;
}

}  // namespace

SystemMessage::SystemMessage(std::wstring_view message, HMODULE module)
    : mMessage(message), mPatch(module, "FormatMessageW", reinterpret_cast<void*>(formatMessage)) {
    gCurrent = this;
}

SystemMessage::~SystemMessage() { gCurrent = nullptr; }

DWORD WINAPI SystemMessage::formatMessage(DWORD flags, LPCVOID source, DWORD number, DWORD language,
                                          LPWSTR buffer, DWORD size, va_list* arguments) {
    const std::wstring& message = gCurrent->mMessage;
    const bool allocate = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    DWORD error = NO_ERROR;
    if (message.empty()) {
        error = ERROR_MR_MID_NOT_FOUND;
    } else if (lacksArguments(message, flags, arguments)) {
        error = ERROR_INVALID_PARAMETER;
    } else if (!allocate && message.size() >= size) {
        error = ERROR_INSUFFICIENT_BUFFER;
    }
    void* allocated = nullptr;
    if (error == NO_ERROR) {
        wchar_t* to = buffer;
        if (allocate) {
            allocated = LocalAlloc(LPTR, (message.size() + 1) * sizeof(wchar_t));
            to = static_cast<wchar_t*>(allocated);
            *reinterpret_cast<void**>(buffer) = allocated;
        }
        message.copy(to, message.size());
        to[message.size()] = L'\0';
    }
    gCurrent->mCalls.push_back({flags, source, number, language, size, arguments, allocated});
    SetLastError(error != NO_ERROR ? error : ERROR_MR_MID_NOT_FOUND);
    return error != NO_ERROR ? 0 : static_cast<DWORD>(message.size());
}

}  // namespace testing_support
