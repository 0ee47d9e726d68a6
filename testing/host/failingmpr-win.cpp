// An enumeration of network drives that fails as a test requests. It returns an MVFS drive and a
// view drive, and then the error that the environment variable FAILING_MPR names. With
// FAILING_MPR_OPEN, opening the enumeration fails at once with the error that this variable names.

#include <cstdlib>

#include <windows.h>
#include <winnetwk.h>

namespace {

DWORD numberOf(const char* variable) {
    const char* value = std::getenv(variable);
    return value == nullptr ? 0 : static_cast<DWORD>(std::strtoul(value, nullptr, 10));
}

bool gGiven = false;

char gMvfsDrive[] = "m:";
char gMvfsServer[] = "\\\\view";
char gViewDrive[] = "x:";
char gView[] = "\\\\view\\tag1";
char gProvider[] = "ClearCase Dynamic Views";

}  // namespace

DWORD WINAPI WNetOpenEnumA(DWORD, DWORD, DWORD, LPNETRESOURCEA, LPHANDLE enumeration) {
    *enumeration = nullptr;
    return numberOf("FAILING_MPR_OPEN");
}

DWORD WINAPI WNetEnumResourceA(HANDLE, LPDWORD count, LPVOID buffer, LPDWORD) {
    if (gGiven) {
        return numberOf("FAILING_MPR");
    }
    gGiven = true;
    auto* entries = static_cast<NETRESOURCEA*>(buffer);
    entries[0] = {};
    entries[0].lpLocalName = gMvfsDrive;
    entries[0].lpRemoteName = gMvfsServer;
    entries[0].lpProvider = gProvider;
    entries[1] = entries[0];
    entries[1].lpLocalName = gViewDrive;
    entries[1].lpRemoteName = gView;
    *count = 2;
    return NO_ERROR;
}

DWORD WINAPI WNetCloseEnum(HANDLE) { return NO_ERROR; }
