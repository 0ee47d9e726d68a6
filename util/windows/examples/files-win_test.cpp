// Examples of docs/utility.md: files.

#include "util/windows/system/files-win.h"

#include <cstdint>
#include <fcntl.h>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/folderexample-win.h"
#include "util/numberedmessage.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/openfile-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system-win.h"
#include "util/windows/system/filestat-win.h"
#include "util/windows/system/smallfile-win.h"

namespace {

using FileExampleTest = testing_support::FolderExampleTest;

TEST_F(FileExampleTest, LookAtWhatIsThere) {
    std::cout << std::boolalpha << System::exists("notes.txt") << ' '
              << System::exists("missing.txt") << '\n'
              << System::canRead("notes.txt") << ' ' << System::isWritable("notes.txt") << '\n'
              << System::canRead(System::getcwd()) << ' '
              << System::canListDirectory(System::getcwd()) << '\n';
}

TEST_F(FileExampleTest, ReadAFile) {
    std::string text;
    if (readFile("notes.txt", text) == fileIsRead) {
        std::cout << text;
    }
    std::string message;
    const int number = readFile("missing.txt", message);
    std::cout << MessagePrefix{/*mIsError=*/true, number} << message << '\n';
}

// NOLINTBEGIN(clang-analyzer-unix.API): not the `open` of the C runtime
TEST_F(FileExampleTest, WriteAFile) {
    const std::string path = "new.txt";
    const ScopedHandle file(
        open(path, _O_CREAT | _O_TRUNC | _O_WRONLY, /*mode=*/0, /*name=*/nullptr));
    if (!file.isOpen()) {
        throw Win32Exception("CreateFileW");
    }
    const std::string text = "hello\n";
    if (writeWithRetry(file.get(), text.data(), static_cast<uint32_t>(text.size())) == callFailed) {
        throw Win32Exception("WriteFile");
    }
}
// NOLINTEND(clang-analyzer-unix.API)

TEST_F(FileExampleTest, MakeATemporaryFileOrFolder) {
    const std::string file = System::temporaryFileName(/*directory=*/"", "log");
    const std::string folder = makeUniqueDirectory(System::tempDirectory() + "log-");
    std::cout << System::exists(file) << ' ' << System::exists(folder) << '\n';
    std::cout << (System::remove(file, /*force=*/false) == callSucceeded) << ' '
              << (System::removeDirectory(folder, /*force=*/false) == System::directoryRemoved)
              << '\n';
}

TEST_F(FileExampleTest, ReadAndChangeTheFactsAboutAFile) {
    FileStat stat;
    if (!stat.read("notes.txt", /*unused=*/0)) {
        throw Win32Exception("CreateFileW");
    }
    std::cout << stat.size << ' ' << stat.links << ' ' << stat.isDirectory() << '\n';
    stat.setReadOnly(true);
    stat.setTimesToNow();
    if (!stat.applyTimes("notes.txt") || !stat.applyAttributes("notes.txt")) {
        throw Win32Exception("SetFileAttributesW");
    }
    std::cout << stat.isWritable() << '\n';
}

TEST_F(FileExampleTest, CopyRenameAndRemoveFiles) {
    std::string message;
    std::cout << System::copy("notes.txt", "copy.txt", message) << ' '
              << System::rename("copy.txt", "other.txt", /*acrossVolumes=*/false) << ' '
              << (System::hardLink("notes.txt", "link.txt") == callSucceeded) << '\n'
              << renameRetrying("link.txt", "second.txt") << ' '
              << removeRetrying("second.txt", /*force=*/true) << ' '
              << (System::remove("other.txt", /*force=*/false) == callSucceeded) << '\n';
    if (!System::copy("missing.txt", "copy.txt", message)) {
        std::cout << message << '\n';
    }
}

TEST_F(FileExampleTest, PassAPathToWindows) {
    std::cout << toUtf8(System::unicodePath("c:/a/../b.txt")) << '\n';
    const ScopedHandle file(CreateFileW(System::unicodePath("notes.txt").c_str(), GENERIC_READ,
                                        FILE_SHARE_READ, /*lpSecurityAttributes=*/nullptr,
                                        OPEN_EXISTING, /*dwFlagsAndAttributes=*/0,
                                        /*hTemplateFile=*/nullptr));
    if (!file.isOpen()) {
        throw Win32Exception("CreateFileW");
    }
}

TEST_F(FileExampleTest, LookAtTheVolume) {
    std::cout << (System::volumeType("", /*account=*/nullptr) == VolumeType::mvfs) << ' '
              << (System::freeDiskSpace("") > 0) << '\n';
}

}  // namespace
