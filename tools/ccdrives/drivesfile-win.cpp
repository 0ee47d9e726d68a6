#include "tools/ccdrives/drivesfile-win.h"

#include <stdexcept>

#include <windows.h>

#include "tools/shared/systemerror-win.h"
#include "tools/shared/wholefile-win.h"
#include "util/pathfun.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/smallfile-win.h"

namespace ccdrives {
namespace {

constexpr const char* advice = "name another list by NBCLEARCASE_DRIVES";

/// How often an edit looks whether it is its turn, and the pause between; ten seconds in all.
constexpr int turnTries = 1000;
constexpr DWORD turnPause = 10;
/// How often of these the file may be one that can't be opened. The file of the turn before is such
/// a one for a moment; in a folder that can't be written it stays so.
constexpr int deniedTries = 50;

/// The turn to edit a list. It is a file beside the list, which only one process at a time can
/// have open. Windows removes it when it is closed, also for a process that is stopped.
class EditTurn {
public:
    explicit EditTurn(const std::string& file) {
        const std::wstring name = System::unicodePath(file + ".lock");
        int denied = 0;
        for (int tries = 1;; ++tries) {
            *mHandle.receive() = CreateFileW(
                name.c_str(), GENERIC_WRITE | DELETE, /*dwShareMode=*/0,
                /*lpSecurityAttributes=*/nullptr, OPEN_ALWAYS,
                FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, /*hTemplateFile=*/nullptr);
            if (mHandle.isOpen()) {
                return;
            }
            const DWORD error = GetLastError();
            const bool isTaken = error == ERROR_SHARING_VIOLATION;
            denied += error == ERROR_ACCESS_DENIED ? 1 : 0;
            const bool mayChange =
                isTaken || (error == ERROR_ACCESS_DENIED && denied < deniedTries);
            if (!mayChange || tries == turnTries) {
                throw std::runtime_error("can't edit '" + file +
                                         "': " + tools::systemErrorText(error) + "; " +
                                         (isTaken ? "try again, or " : "") + advice);
            }
            Sleep(turnPause);
        }
    }

private:
    ScopedHandle mHandle;
};

}  // namespace

std::string readDrivesFile(const std::string& file) {
    std::string text;
    if (readFile(file, text) == fileIsRead) {
        return text;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
        return {};
    }
    throw std::runtime_error("can't read '" + file + "': " + tools::systemErrorText(error) + "; " +
                             advice);
}

void editDrivesFile(const std::string& file,
                    const std::function<std::string(const std::string&)>& edit) {
    // Without its folder the file can't be opened below, which is reported there.
    CreateDirectoryW(System::unicodePath(parentPath(file)).c_str(),
                     /*lpSecurityAttributes=*/nullptr);
    const EditTurn turn(file);
    const std::string before = readDrivesFile(file);
    const std::string after = edit(before);
    if (after != before) {
        tools::writeWholeFile(file, after, /*replace=*/true, advice);
    }
}

}  // namespace ccdrives
