#include "tools/ccquery/windowstext-win.h"

#include <windows.h>

namespace ccquery {

std::string toUtf8(const std::wstring& text) {
    // A UTF-16 unit takes at most three bytes.
    std::string result(text.size() * 3, '\0');
    const int size =
        WideCharToMultiByte(CP_UTF8, /*dwFlags=*/0, text.data(), static_cast<int>(text.size()),
                            result.data(), static_cast<int>(result.size()),
                            /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    result.resize(static_cast<size_t>(size));
    return result;
}

std::wstring toWide(const std::string& text) {
    std::wstring result(text.size(), L'\0');
    const int size =
        MultiByteToWideChar(CP_UTF8, /*dwFlags=*/0, text.data(), static_cast<int>(text.size()),
                            result.data(), static_cast<int>(result.size()));
    result.resize(static_cast<size_t>(size));
    return result;
}

std::string systemErrorText(unsigned long error) {
    std::wstring words(1024, L'\0');
    words.resize(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                /*lpSource=*/nullptr, error, /*dwLanguageId=*/0, words.data(),
                                static_cast<DWORD>(words.size()), /*Arguments=*/nullptr));
    words.resize(words.find_last_not_of(L"\r\n .") + 1);
    const std::string number = "error " + std::to_string(error);
    return words.empty() ? number : toUtf8(words) + " (" + number + ")";
}

}  // namespace ccquery
