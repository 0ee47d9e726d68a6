#include "tools/ccdrives/drivesfile-win.h"

#include <stdexcept>

#include <windows.h>

#include "tools/ccdrives/drivesread-win.h"
#include "tools/shared/systemerror-win.h"
#include "tools/shared/wholefile-win.h"
#include "util/pathfun.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"

namespace ccdrives {
namespace {

/// How often an edit looks whether it is its turn, and the pause between; ten seconds in all.
constexpr int turnTries = 1000;
constexpr DWORD turnPause = 10;
/// How often in a row the file may be one that can't be opened. The file of the turn before is such
/// a one for a moment; in a folder that can't be written it stays so.
constexpr int deniedTries = 50;

/// The turn to edit a list. It is a file beside the list, which only one process at a time can
/// have open. Windows removes it when it is closed, also for a process that is stopped.
class EditTurn {
public:
    explicit EditTurn(const std::string& file) {
        const std::wstring name = System::unicodePath(turnFile(file));
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
            denied = error == ERROR_ACCESS_DENIED ? denied + 1 : 0;
            const bool mayChange =
                isTaken || (error == ERROR_ACCESS_DENIED && denied < deniedTries);
            if (!mayChange || tries == turnTries) {
                throw std::runtime_error("can't edit '" + file +
                                         "': " + tools::systemErrorText(error) + "; " +
                                         (isTaken ? "try again, or " : "") + drivesAdvice);
            }
            Sleep(turnPause);
        }
    }

private:
    ScopedHandle mHandle;
};

/// Throws if the list is one that shouldn't change.
void checkIsWritable(const std::string& file) {
    const DWORD attributes = GetFileAttributesW(System::unicodePath(file).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        throw std::runtime_error("'" + file + "' is read-only; change that, or " + drivesAdvice);
    }
}

}  // namespace

std::string turnFile(const std::string& file) {
    // Windows removes the file, so nobody else may have one of the name.
    return file + ".ccdrives-turn-6e2b90d47ac1";
}

void editDrivesFile(const std::string& file,
                    const std::function<std::string(const std::string&)>& edit) {
    // What changes nothing needs no right to change something.
    const std::string current = readDrivesFile(file);
    if (edit(current) == current) {
        return;
    }
    // Without its folder the file can't be opened below, which is reported there.
    CreateDirectoryW(System::unicodePath(parentPath(file)).c_str(),
                     /*lpSecurityAttributes=*/nullptr);
    const EditTurn turn(file);
    const std::string before = readDrivesFile(file);
    const std::string after = edit(before);
    if (after != before) {
        checkIsWritable(file);
        tools::writeWholeFile(file, after, /*replace=*/true, drivesAdvice);
    }
}

}  // namespace ccdrives
