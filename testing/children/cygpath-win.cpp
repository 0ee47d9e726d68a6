// cygpath -m|-w NAME...: prints the Windows name of each NAME on a line of its own, with forward
// (-m) or backward (-w) slashes. Without an option, it prints the name unchanged. See
// posixnames-win.h. If the environment variable NBCC_CYGPATH_ANSWER is set, its text is the answer
// to everything. At a name that it can't convert, it ends with 1, after a line that is no answer.
// It always writes to standard error as well.

#include <algorithm>
#include <optional>
#include <string>

#include <windows.h>

#include "testing/children/childruntime-win.h"
#include "testing/children/posixnames-win.h"

int wmain(int count, wchar_t** arguments) {
    child::print(L"cygpath: a warning\n", STD_ERROR_HANDLE);
    if (const std::wstring answer = child::variable(L"NBCC_CYGPATH_ANSWER"); !answer.empty()) {
        child::print(answer);
        return 0;
    }
    std::wstring option;
    for (int i = 1; i < count; ++i) {
        const std::wstring name = arguments[i];
        if (name.starts_with(L'-')) {
            option = name;
            continue;
        }
        std::optional<std::wstring> answer =
            option.empty() ? std::optional(name) : child::nativeName(name);
        if (!answer) {
            child::print(L"no answer\n");
            return 1;
        }
        if (option == L"-w") {
            std::replace(answer->begin(), answer->end(), L'/', L'\\');
        }
        child::print(*answer + L"\n");
    }
    return 0;
}
