#include "util/platform/unicodetext-win.h"

#include <climits>
#include <cstddef>

#include <windows.h>

namespace {

// Windows takes lengths as int. A longer text can't be converted, and casting its length would
// convert something else: -1, for example, means up to the terminator.
constexpr size_t longestText = INT_MAX;
constexpr size_t bytesPerUnit = 4;

}  // namespace

std::string toUtf8(const std::wstring& text) {
    if (text.empty() || text.size() > longestText / bytesPerUnit) {
        return {};
    }
    std::string result(text.size() * bytesPerUnit, '\0');
    const int size =
        WideCharToMultiByte(CP_UTF8, /*dwFlags=*/0, text.data(), static_cast<int>(text.size()),
                            result.data(), static_cast<int>(result.size()),
                            /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    result.resize(static_cast<size_t>(size));
    return result;
}

void appendWide(StringSpan text, std::wstring& result) {
    if (text.length == 0 || text.length > longestText) {
        return;
    }
    const size_t before = result.size();
    result.resize(before + text.length);
    const int size =
        MultiByteToWideChar(CP_UTF8, /*dwFlags=*/0, text.data, static_cast<int>(text.length),
                            result.data() + before, static_cast<int>(text.length));
    result.resize(before + static_cast<size_t>(size));
}

std::wstring toWide(StringSpan text) {
    std::wstring result;
    appendWide(text, result);
    return result;
}

void trimNulls(std::wstring& text) {
    const size_t last = text.find_last_not_of(L'\0');
    text.resize(last == std::wstring::npos ? 0 : last + 1);
}
