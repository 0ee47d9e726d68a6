#include "tools/ccquery/journals/wholefile-win.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include <windows.h>

#include "tools/ccquery/systemerror-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/smallfile-win.h"

namespace ccquery {
namespace {

/// Throws for the error in GetLastError.
[[noreturn]] void fail(const std::string& file) {
    const DWORD error = GetLastError();
    throw std::runtime_error("can't write '" + file + "': " + systemErrorText(error) +
                             "; name another file");
}

/// A new file that Windows removes when it is closed, unless it is kept.
class TemporaryFile {
public:
    /// Throws std::runtime_error. `file` is what the message names.
    explicit TemporaryFile(const std::string& file) : mFile(file) {
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
        fail(mFile);
    }

    void write(std::string_view text) {
        while (!text.empty()) {
            const auto size = static_cast<DWORD>(std::min(text.size(), size_t{1} << 30));
            DWORD written = 0;
            if (!WriteFile(mHandle.get(), text.data(), size, &written, /*lpOverlapped=*/nullptr)) {
                fail(mFile);
            }
            text.remove_prefix(written);
        }
        if (!FlushFileBuffers(mHandle.get())) {
            fail(mFile);
        }
    }

    /// Gives the file its name.
    void keepAs(const std::wstring& name, bool replace) {
        setRemoved(false);
        mHandle.release();
        const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0U);
        if (!MoveFileExW(mName.c_str(), name.c_str(), flags)) {
            const DWORD error = GetLastError();
            DeleteFileW(mName.c_str());
            SetLastError(error);
            fail(mFile);
        }
    }

private:
    void setRemoved(bool removed) {
        FILE_DISPOSITION_INFO info{};
        info.DeleteFile = static_cast<BOOLEAN>(removed);
        if (!SetFileInformationByHandle(mHandle.get(), FileDispositionInfo, &info, sizeof info)) {
            fail(mFile);
        }
    }

    const std::string& mFile;
    std::wstring mName;
    ScopedHandle mHandle;
};

}  // namespace

void writeWholeFile(const std::string& file, const std::string& text, bool replace) {
    TemporaryFile temporary(file);
    temporary.write(text);
    temporary.keepAs(System::unicodePath(file), replace);
}

}  // namespace ccquery
