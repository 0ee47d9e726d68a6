#include "clearcase/libraryload-win.h"

#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

#include <winsock2.h>

#include "clearcase/mvfsdrives-win.h"
#include "util/platform/errortext-win.h"

namespace {

/// Writes the line in one piece, since other modules of the process write there as well.
void complain(const std::string& text) { std::cerr << "nbclearcase:  " + text + '\n'; }

}  // namespace

bool attachLibrary() {
    WSADATA unused;
    const int error = WSAStartup(MAKEWORD(2, 2), &unused);
    if (error != 0) {
        complain(Win32Exception("WSAStartup", static_cast<uint32_t>(error)).what());
        return false;
    }
    try {
        mvfsRoot = lookupMvfsDrives(viewDrives);
    } catch (const std::exception& e) {
        complain(std::string("initialization error looking up MVFS drives:  ") + e.what());
    }
    viewDriveLetters = DriveLetters(viewDrives);
    return true;
}

void detachLibrary() { WSACleanup(); }
