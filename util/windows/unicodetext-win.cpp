#include "util/windows/unicodetext-win.h"

#include <windows.h>

std::string toUtf8(const std::wstring& text) {
    // A unit of its own takes at most three bytes, a surrogate pair four.
    std::string result(text.size() * 4, '\0');
    const int size =
        WideCharToMultiByte(CP_UTF8, /*dwFlags=*/0, text.data(), static_cast<int>(text.size()),
                            result.data(), static_cast<int>(result.size()),
                            /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    result.resize(static_cast<size_t>(size));
    return result;
}

std::wstring toWide(StringSpan text) {
    std::wstring result(text.length, L'\0');
    const int size =
        MultiByteToWideChar(CP_UTF8, /*dwFlags=*/0, text.data, static_cast<int>(text.length),
                            result.data(), static_cast<int>(result.size()));
    result.resize(static_cast<size_t>(size));
    return result;
}
