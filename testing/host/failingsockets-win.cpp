// Windows Sockets that don't start. The system's header isn't included because it declares these
// functions as functions of another library.

#include <windows.h>

extern "C" {

int WINAPI WSAStartup(WORD, void*) { return 10091; }  // WSASYSNOTREADY

int WINAPI WSACleanup() { return 0; }

int WINAPI WSAGetLastError() { return 0; }

void WINAPI WSASetLastError(int) {}
}
