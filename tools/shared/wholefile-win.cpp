#include "tools/shared/wholefile-win.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include <windows.h>

#include "tools/shared/systemerror-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/smallfile-win.h"

namespace tools {
namespace {

/// Throws for the error in GetLastError.
[[noreturn]] void fail(const std::string& file, const char* advice) {
    const DWORD error = GetLastError();
    throw std::runtime_error("can't write '" + file + "': " + systemErrorText(error) + "; " +
                             advice);
}

/// Gives a file the name of another. Windows refuses that while another process has that one open.
bool rename(const std::wstring& from, const std::wstring& to, DWORD flags) {
    constexpr int tries = 50;
    for (int i = 1;; ++i) {
        if (MoveFileExW(from.c_str(), to.c_str(), flags)) {
            return true;
        }
        const DWORD error = GetLastError();
        const bool isOpen = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!isOpen || i == tries) {
            return false;
        }
        Sleep(10);
    }
}

/// A new file that Windows removes when it is closed, unless it is kept.
class TemporaryFile {
public:
    /// Throws std::runtime_error. `file` is what the message names, `advice` its end.
    TemporaryFile(const std::string& file, const char* advice) : mFile(file), mAdvice(advice) {
        UniqueName names(file + '.');
        for (int tries = 0; tries < 100; ++tries) {
            mName = System::unicodePath(names.next());
            *mHandle.receive() =
                CreateFileW(mName.c_str(), GENERIC_WRITE | DELETE,
                            FILE_SHARE_READ | FILE_SHARE_DELETE, /*lpSecurityAttributes=*/nullptr,
                            CREATE_NEW, FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr);
            if (mHandle.isOpen()) {
                setRemoved(true);
                return;
            }
            if (GetLastError() != ERROR_FILE_EXISTS) {
                break;
            }
        }
        fail(mFile, mAdvice);
    }

    void write(std::string_view text) {
        while (!text.empty()) {
            const auto size = static_cast<DWORD>(std::min(text.size(), size_t{1} << 30));
            DWORD written = 0;
            if (!WriteFile(mHandle.get(), text.data(), size, &written, /*lpOverlapped=*/nullptr)) {
                fail(mFile, mAdvice);
            }
            text.remove_prefix(written);
        }
        if (!FlushFileBuffers(mHandle.get())) {
            fail(mFile, mAdvice);
        }
    }

    /// Gives the file its name.
    void keepAs(const std::wstring& name, bool replace) {
        setRemoved(false);
        mHandle.release();
        const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0U);
        if (!rename(mName, name, flags)) {
            const DWORD error = GetLastError();
            DeleteFileW(mName.c_str());
            SetLastError(error);
            fail(mFile, mAdvice);
        }
    }

private:
    void setRemoved(bool removed) {
        FILE_DISPOSITION_INFO info{};
        info.DeleteFile = static_cast<BOOLEAN>(removed);
        if (!SetFileInformationByHandle(mHandle.get(), FileDispositionInfo, &info, sizeof info)) {
            fail(mFile, mAdvice);
        }
    }

    const std::string& mFile;
    const char* mAdvice;
    std::wstring mName;
    ScopedHandle mHandle;
};

}  // namespace

void writeWholeFile(const std::string& file, const std::string& text, bool replace,
                    const char* advice) {
    TemporaryFile temporary(file, advice);
    temporary.write(text);
    temporary.keepAs(System::unicodePath(file), replace);
}

}  // namespace tools
