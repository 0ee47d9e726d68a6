#include "tools/shared/systemerror-win.h"

#include <windows.h>

#include "util/platform/unicodetext-win.h"

namespace tools {

std::string systemErrorText(unsigned long error) {
    std::wstring words(1024, L'\0');
    words.resize(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                /*lpSource=*/nullptr, error, /*dwLanguageId=*/0, words.data(),
                                static_cast<DWORD>(words.size()), /*Arguments=*/nullptr));
    words.resize(words.find_last_not_of(L"\r\n .") + 1);
    const std::string number = "error " + std::to_string(error);
    return words.empty() ? number : toUtf8(words) + " (" + number + ")";
}

}  // namespace tools
